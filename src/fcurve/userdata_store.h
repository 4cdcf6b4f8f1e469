#ifndef QV_SRC_FCURVE_USERDATA_STORE_H
#define QV_SRC_FCURVE_USERDATA_STORE_H

#include <qv/QvBaseFCurve.h>

// What the curve frame needs from the user data store to copy and destroy curves. The store
// itself (QvFCurveUserDataStore and CFCUserDataSet) is defined with the user data operations.
namespace qv::internal {

// A deep copy of `store`, or null for null. May throw std::bad_alloc, leaving nothing behind.
QvFCurveUserDataStore* clone_user_data_store(const QvFCurveUserDataStore* store);

// Frees a store and everything it owns; null is accepted.
void destroy_user_data_store(QvFCurveUserDataStore* store) noexcept;

}  // namespace qv::internal

#endif
