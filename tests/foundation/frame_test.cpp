#include <qv/QvCriticalSection.h>
#include <qv/QvTrace.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

std::string g_trace;
void capture(const char* text) { g_trace += text; }

}  // namespace

TEST(Trace, FormatsAndCutsAt512Characters) {
  QvSetTraceSink(&capture);
  g_trace.clear();
  _qvTRACE("%d-%s", 42, "x");
  EXPECT_EQ("42-x", g_trace);  // nothing is added
  g_trace.clear();
  const std::string long_text(2000, 'a');
  _qvTRACE("%s", long_text.c_str());
  EXPECT_EQ(511u, g_trace.size());
  g_trace.clear();
  _qvTRACE(L"%ls %d", L"wide", 7);
  EXPECT_EQ("wide 7", g_trace);
  g_trace.clear();
  const std::wstring long_wide(2000, L'w');
  _qvTRACE(L"%ls", long_wide.c_str());  // cut or dropped, never overrun
  EXPECT_LE(g_trace.size(), 511u);
  QvSetTraceSink(nullptr);
}

TEST(CriticalSection, IsRecursiveAndReleasedAfterMatchingUnlocks) {
  QvCriticalSection lock;
  lock.LOCK();
  lock.LOCK();
  lock.UNLOCK();
  lock.UNLOCK();
  bool taken = false;
  std::thread other([&] {
    lock.LOCK();
    taken = true;
    lock.UNLOCK();
  });
  other.join();
  EXPECT_TRUE(taken);
}
