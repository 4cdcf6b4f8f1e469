#include <qv/QvTrace.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr std::size_t kTraceChars = 512;

void default_sink(const char* text) { std::fputs(text, stderr); }

std::atomic<QvTraceSink> g_sink{&default_sink};

void emit(const char* text) { g_sink.load()(text); }

}  // namespace

QvTraceSink QvSetTraceSink(QvTraceSink sink) {
  return g_sink.exchange(sink ? sink : &default_sink);
}

void _qvTRACE(const char* format, ...) {
  char buffer[kTraceChars];
  va_list args;
  va_start(args, format);
  const int written = std::vsnprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  if (written < 0) return;
  emit(buffer);
}

void _qvTRACE(const wchar_t* format, ...) {
  wchar_t wide[kTraceChars];
  va_list args;
  va_start(args, format);
  const int written = std::vswprintf(wide, kTraceChars, format, args);
  va_end(args);
  if (written < 0) return;
  char narrow[kTraceChars];
  const std::size_t bytes = std::wcstombs(narrow, wide, kTraceChars - 1);
  if (bytes == static_cast<std::size_t>(-1)) return;
  narrow[bytes] = '\0';
  emit(narrow);
}
