#include <qv/QvQuatFCurve.h>
#include <gtest/gtest.h>
