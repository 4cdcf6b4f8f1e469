#include <qv/QvMotionPath3d.h>
#include <gtest/gtest.h>
