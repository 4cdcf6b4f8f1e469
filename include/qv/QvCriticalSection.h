#ifndef QV_QVCRITICALSECTION_H
#define QV_QVCRITICALSECTION_H

#include <qv/QvTypes.h>

#include <mutex>

// The library's one lock primitive: a recursive lock, so that a public operation may call other
// public operations of the same object on the same thread.
class QV_API QvCriticalSection {
 public:
  QvCriticalSection();
  ~QvCriticalSection();

  // Copying an object copies its fields, not its lock state: each object keeps a lock of its own.
  QvCriticalSection(const QvCriticalSection&);
  QvCriticalSection& operator=(const QvCriticalSection&);

  void LOCK();
  void UNLOCK();

 private:
  std::recursive_mutex m_mutex;
};

// Holds a lock for the length of a scope and releases it on every way out.
class QvCriticalSectionGuard {
 public:
  explicit QvCriticalSectionGuard(QvCriticalSection& section) : m_section(section) { m_section.LOCK(); }
  ~QvCriticalSectionGuard() { m_section.UNLOCK(); }
  QvCriticalSectionGuard(const QvCriticalSectionGuard&) = delete;
  QvCriticalSectionGuard& operator=(const QvCriticalSectionGuard&) = delete;

 private:
  QvCriticalSection& m_section;
};

#endif
