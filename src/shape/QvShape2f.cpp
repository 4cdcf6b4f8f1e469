#include <qv/QvShape2f.h>
