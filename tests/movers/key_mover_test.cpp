#include <gtest/gtest.h>
#include <qv/QvFCurveMovers.h>
TEST(Placeholder, key_mover_test) {}
