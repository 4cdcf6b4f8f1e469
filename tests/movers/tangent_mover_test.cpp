#include <gtest/gtest.h>
#include <qv/QvFCurveMovers.h>
TEST(Placeholder, tangent_mover_test) {}
