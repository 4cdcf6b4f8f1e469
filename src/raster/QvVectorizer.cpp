#include <qv/QvVectorizer.h>

#include <qv/QvPath2f.h>
#include <qv/QvRaster.h>

#include <cmath>

#include "raster/vectorizer_sweep.h"

QvVectorizer::QvVectorizer(double perimeterThreshold, double areaThreshold)
    : m_thresholds(new double[2]) {
  m_thresholds[0] = std::fabs(perimeterThreshold);
  m_thresholds[1] = std::fabs(areaThreshold);
}

QvVectorizer::QvVectorizer(const QvVectorizer& other) : m_thresholds(new double[2]) {
  m_thresholds[0] = other.m_thresholds[0];
  m_thresholds[1] = other.m_thresholds[1];
}

QvVectorizer& QvVectorizer::operator=(const QvVectorizer& other) {
  m_thresholds[0] = other.m_thresholds[0];
  m_thresholds[1] = other.m_thresholds[1];
  return *this;
}

QvVectorizer::~QvVectorizer() { delete[] m_thresholds; }

void QvVectorizer::SetPerimeterThreshold(double value) { m_thresholds[0] = std::fabs(value); }

void QvVectorizer::SetAreaThreshold(double value) { m_thresholds[1] = std::fabs(value); }

QvULong QvVectorizer::Vectorize(QvRaster<unsigned char> const& raster, unsigned char value,
                                QvExtent2<float> const& /*extent*/, QvPath2f& path) {
  return qv::internal::vectorize_sweep(raster, value, m_thresholds[0], m_thresholds[1], path);
}
