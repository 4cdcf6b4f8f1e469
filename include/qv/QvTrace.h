#ifndef QV_QVTRACE_H
#define QV_QVTRACE_H

#include <qv/QvTypes.h>

#include <cstddef>
#include <cwchar>

// The library's only text output: a debugging aid without level or log file. Each call formats by
// the rules of the C library into at most 511 characters (longer texts are cut) and hands the text,
// with nothing added, to the debug sink.
QV_API void _qvTRACE(const char* format, ...);
QV_API void _qvTRACE(const wchar_t* format, ...);

// Where the text goes. The default sink writes to the standard error stream; a host or a test may
// install its own (nullptr restores the default). The text is NUL-terminated.
using QvTraceSink = void (*)(const char* text);
QV_API QvTraceSink QvSetTraceSink(QvTraceSink sink);

#endif
