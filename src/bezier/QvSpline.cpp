// The three public spline classes share their algorithms in spline_core.h; each member here only
// forwards to them and swaps a freshly built body in on success, so that a refused or failed call
// leaves the spline as it was.

#include <qv/QvSpline.h>

#include <memory>

#include "bezier/spline_core.h"

using qv::internal::adopt_spline_body;
using qv::internal::assign_spline_body;
using qv::internal::spline_convert;
using qv::internal::spline_eval;
using qv::internal::spline_fit;

// ---- QvSpline1d ----

QvSpline1d::QvSpline1d() : m_body(new QvSpline1dImpl) {}

QvSpline1d::QvSpline1d(const QvSpline1d& other) : m_body(new QvSpline1dImpl(*other.m_body)) {}

QvSpline1d& QvSpline1d::operator=(const QvSpline1d& other) {
  if (this != &other) assign_spline_body(m_body, *other.m_body);
  return *this;
}

QvSpline1d::~QvSpline1d() { delete m_body; }

QvULong QvSpline1d::GetNumKeys() const { return m_body->keyParameters.size; }
QvLong QvSpline1d::IsClosed() const { return m_body->closed; }
QvLong QvSpline1d::IsEmpty() const { return m_body->keyParameters.size == 0 ? 1 : 0; }
QvSpline::Kind QvSpline1d::GetKind() const { return m_body->kind; }

const QvDoubleArray& QvSpline1d::GetKeyParameters() const { return m_body->keyParameters; }
const QvDoubleArray& QvSpline1d::GetKeyValues() const { return m_body->keyValues; }
const QvDoubleArray& QvSpline1d::GetLeftDerivatives() const { return m_body->leftDerivatives; }
const QvDoubleArray& QvSpline1d::GetRightDerivatives() const { return m_body->rightDerivatives; }

QvLong QvSpline1d::GetInputExtent(const QvDoubleArray& params, const QvDoubleArray& values,
                                  double& paramRange, double& valueRange) {
  double param_range = 0.0;
  if (!qv::internal::spline_param_range(params, values, param_range)) return 0;
  double lo = values.data[0];
  double hi = values.data[0];
  for (QvULong i = 1; i < values.size; ++i) {
    if (values.data[i] < lo) lo = values.data[i];
    if (values.data[i] > hi) hi = values.data[i];
  }
  valueRange = hi - lo;
  paramRange = param_range;
  return 1;
}

QvLong QvSpline1d::OpenFit(const QvDoubleArray& params, const QvDoubleArray& values,
                           double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline1dImpl>(params, values, tolerance, kind, false));
}

QvLong QvSpline1d::ClosedFit(const QvDoubleArray& params, const QvDoubleArray& values,
                             double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline1dImpl>(params, values, tolerance, kind, true));
}

QvLong QvSpline1d::Eval(double& out, double t) const {
  return spline_eval(*m_body, out, t) ? 1 : 0;
}

QvLong QvSpline1d::CopyAndConvert(QvSpline1d& target, QvSpline::Kind kind) {
  return adopt_spline_body(target.m_body, spline_convert(*m_body, kind));
}

// ---- QvSpline2d ----

QvSpline2d::QvSpline2d() : m_body(new QvSpline2dImpl) {}

QvSpline2d::QvSpline2d(const QvSpline2d& other) : m_body(new QvSpline2dImpl(*other.m_body)) {}

QvSpline2d& QvSpline2d::operator=(const QvSpline2d& other) {
  if (this != &other) assign_spline_body(m_body, *other.m_body);
  return *this;
}

QvSpline2d::~QvSpline2d() { delete m_body; }

QvULong QvSpline2d::GetNumKeys() const { return m_body->keyParameters.size; }
QvLong QvSpline2d::IsClosed() const { return m_body->closed; }
QvLong QvSpline2d::IsEmpty() const { return m_body->keyParameters.size == 0 ? 1 : 0; }
QvSpline::Kind QvSpline2d::GetKind() const { return m_body->kind; }

const QvDoubleArray& QvSpline2d::GetKeyParameters() const { return m_body->keyParameters; }
const QvPoint2dArray& QvSpline2d::GetKeyValues() const { return m_body->keyValues; }
const QvPoint2dArray& QvSpline2d::GetLeftDerivatives() const { return m_body->leftDerivatives; }
const QvPoint2dArray& QvSpline2d::GetRightDerivatives() const { return m_body->rightDerivatives; }

QvLong QvSpline2d::GetInputExtent(const QvDoubleArray& params, const QvPoint2dArray& values,
                                  double& paramRange, QvExtent2<double>& valueRange) {
  return qv::internal::spline_input_extent(params, values, paramRange, valueRange) ? 1 : 0;
}

QvLong QvSpline2d::OpenFit(const QvDoubleArray& params, const QvPoint2dArray& values,
                           double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline2dImpl>(params, values, tolerance, kind, false));
}

QvLong QvSpline2d::ClosedFit(const QvDoubleArray& params, const QvPoint2dArray& values,
                             double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline2dImpl>(params, values, tolerance, kind, true));
}

QvLong QvSpline2d::Eval(QvPoint2<double>& out, double t) const {
  return spline_eval(*m_body, out, t) ? 1 : 0;
}

QvLong QvSpline2d::CopyAndConvert(QvSpline2d& target, QvSpline::Kind kind) {
  return adopt_spline_body(target.m_body, spline_convert(*m_body, kind));
}

// ---- QvSpline3d ----

QvSpline3d::QvSpline3d() : m_body(new QvSpline3dImpl) {}

QvSpline3d::QvSpline3d(const QvSpline3d& other) : m_body(new QvSpline3dImpl(*other.m_body)) {}

QvSpline3d& QvSpline3d::operator=(const QvSpline3d& other) {
  if (this != &other) assign_spline_body(m_body, *other.m_body);
  return *this;
}

QvSpline3d::~QvSpline3d() { delete m_body; }

QvULong QvSpline3d::GetNumKeys() const { return m_body->keyParameters.size; }
QvLong QvSpline3d::IsClosed() const { return m_body->closed; }
QvLong QvSpline3d::IsEmpty() const { return m_body->keyParameters.size == 0 ? 1 : 0; }
QvSpline::Kind QvSpline3d::GetKind() const { return m_body->kind; }

const QvDoubleArray& QvSpline3d::GetKeyParameters() const { return m_body->keyParameters; }
const QvPoint3dArray& QvSpline3d::GetKeyValues() const { return m_body->keyValues; }
const QvPoint3dArray& QvSpline3d::GetLeftDerivatives() const { return m_body->leftDerivatives; }
const QvPoint3dArray& QvSpline3d::GetRightDerivatives() const { return m_body->rightDerivatives; }

QvLong QvSpline3d::GetInputExtent(const QvDoubleArray& params, const QvPoint3dArray& values,
                                  double& paramRange, QvExtent3<double>& valueRange) {
  return qv::internal::spline_input_extent(params, values, paramRange, valueRange) ? 1 : 0;
}

QvLong QvSpline3d::OpenFit(const QvDoubleArray& params, const QvPoint3dArray& values,
                           double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline3dImpl>(params, values, tolerance, kind, false));
}

QvLong QvSpline3d::ClosedFit(const QvDoubleArray& params, const QvPoint3dArray& values,
                             double tolerance, QvSpline::Kind kind) {
  return adopt_spline_body(m_body,
                           spline_fit<QvSpline3dImpl>(params, values, tolerance, kind, true));
}

QvLong QvSpline3d::Eval(QvPoint3<double>& out, double t) const {
  return spline_eval(*m_body, out, t) ? 1 : 0;
}

QvLong QvSpline3d::CopyAndConvert(QvSpline3d& target, QvSpline::Kind kind) {
  return adopt_spline_body(target.m_body, spline_convert(*m_body, kind));
}
