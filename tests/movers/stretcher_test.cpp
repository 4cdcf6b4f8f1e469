#include <gtest/gtest.h>
#include <qv/QvFCurveMovers.h>
TEST(Placeholder, stretcher_test) {}
