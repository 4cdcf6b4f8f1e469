#include <qv/QvCriticalSection.h>

QvCriticalSection::QvCriticalSection() = default;

QvCriticalSection::~QvCriticalSection() = default;

QvCriticalSection::QvCriticalSection(const QvCriticalSection&) {}

// A platform lock cannot be copied meaningfully while held; the copy starts free, which is the
// only state in which an object is ever assigned.
QvCriticalSection& QvCriticalSection::operator=(const QvCriticalSection&) { return *this; }

void QvCriticalSection::LOCK() { m_mutex.lock(); }

void QvCriticalSection::UNLOCK() { m_mutex.unlock(); }
