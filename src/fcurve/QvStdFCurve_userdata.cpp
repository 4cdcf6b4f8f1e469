#include <qv/QvBaseFCurve.h>

#include "fcurve/userdata_store.h"

// User data of curves and keys. Every operation refuses for now; no store is ever made, so copies
// and destruction have nothing to do.

namespace qv::internal {

QvFCurveUserDataStore* clone_user_data_store(const QvFCurveUserDataStore*) { return nullptr; }

void destroy_user_data_store(QvFCurveUserDataStore*) noexcept {}

}  // namespace qv::internal

QvLong QvBaseFCurve::SetFCurveUserData(const _pmbUID&, const unsigned char*, QvULong) { return 0; }
QvLong QvBaseFCurve::GetFCurveUserData(const _pmbUID&, const unsigned char*&, QvULong&) const {
  return 0;
}
QvLong QvBaseFCurve::RemoveFCurveUserData(const _pmbUID&) { return 0; }
QvLong QvBaseFCurve::HasUserData() const { return 0; }
QvLong QvBaseFCurve::HasUserData(double) const { return 0; }
QvLong QvBaseFCurve::SetKeyUserData(double&, const _pmbUID&, const unsigned char*, QvULong,
                                    double) {
  return 0;
}
QvLong QvBaseFCurve::GetKeyUserData(double&, const _pmbUID&, const unsigned char*&, QvULong&,
                                    double) const {
  return 0;
}
QvLong QvBaseFCurve::RemoveKeyUserData(double&, const _pmbUID&, double) { return 0; }
QvLong QvBaseFCurve::CopyKeyUserData(const QvBaseFCurve&, double, double) { return 0; }
void QvBaseFCurve::RemoveKeyUserData(double) {}
const CFCUserDataSet* QvBaseFCurve::GetUserDataSet(double) const { return nullptr; }
void QvBaseFCurve::SetUserDataSet(const CFCUserDataSet&, double) {}
void QvBaseFCurve::RemoveAllKeyUserData() {}
void QvBaseFCurve::TranslateAllKeyUserData(double) {}
void QvBaseFCurve::ScaleAllKeyUserData(double) {}
QvLong QvBaseFCurve::MoveKeyUserDataTail(const QvDoubleArray&, const QvDoubleArray&) { return 0; }
void QvBaseFCurve::ExchangeUserData(QvBaseFCurve&) {}
QvULong QvBaseFCurve::GetUserDataBufferSize() const { return 0; }
QvULong QvBaseFCurve::WriteUserDataToBuffer(void*) const { return 0; }
QvULong QvBaseFCurve::ReadUserDataFromBufferBody(const void*) { return 0; }
