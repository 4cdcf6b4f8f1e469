#ifndef QV_QVARRAY_H
#define QV_QVARRAY_H

#include <qv/QvPoint.h>
#include <qv/QvTypes.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

// The tag of a flattened or sampled point. A polyline in a tagged list runs from a TagFirst to the
// next TagLast; readers find subpaths by the tags alone.
enum QvPointTag : std::int32_t { TagFirst = 0, TagInner = 1, TagLast = 2 };

namespace qv::internal {

// Blocks come from malloc and go back with free. A failed allocation asks the installed new
// handler for as long as there is one, then throws: callers never see a null block.
inline void* allocate_block(std::size_t bytes) {
  if (bytes == std::numeric_limits<std::size_t>::max()) throw std::bad_array_new_length();
  if (bytes == 0) bytes = 1;
  for (;;) {
    if (void* p = std::malloc(bytes)) return p;
    std::new_handler handler = std::get_new_handler();
    if (!handler) throw std::bad_alloc();
    handler();
  }
}

inline void free_block(void* p) { std::free(p); }

// The one growth and shrink policy of the array family: a power-of-two capacity stays one, any other
// capacity moves along its own chain of doublings and truncating halvings. A capacity of 0 cannot
// grow; only the (pointer, 0) constructor makes one and callers never grow it.
inline QvULong next_capacity(QvULong c, QvULong n) {
  if (c > n) {
    while (c > n) c >>= 1;
    while (c < n) c <<= 1;
  } else {
    while (c < n) c <<= 1;
  }
  return c == 0 ? 1 : c;
}

// The block forms of the constructor and of Add take only a real pointer to elements, or nullptr,
// so that a literal 0 reads as a value: Add(0, 0) on a point array appends the origin and
// QvULongArray(0, 8) holds one zero, instead of both being ambiguous with a null block. nullptr
// names the empty block (Add(nullptr, 0), or the capacity-0 array of Array(nullptr, 0)), except in
// the constructor of an array of pointers, where it is the one element's value.
template <class P, class E> using BlockPointer =
    std::enable_if_t<(std::is_pointer_v<P> && std::is_convertible_v<P, const E*>) ||
                         (std::is_null_pointer_v<P> && !std::is_pointer_v<E>),
                     int>;
template <class P, class E> using BlockPointerOrNull =
    std::enable_if_t<(std::is_pointer_v<P> && std::is_convertible_v<P, const E*>) ||
                         std::is_null_pointer_v<P>,
                     int>;

// Shared body of the twelve typed arrays. Elements are moved by block copies, so every element type
// is bitwise movable. Nothing here checks an index, a count or a range.
template <class Derived, class E, bool ZeroFill> class TypedArray {
 public:
  QvULong size;
  QvULong capacity;
  E* data;

  explicit TypedArray(QvULong initial_capacity = 1)
      : size(0), capacity(initial_capacity ? initial_capacity : 1), data(allocate(capacity)) {}

  // Holds one element however large the capacity: it does not fill.
  TypedArray(const E& value, QvULong initial_capacity)
      : size(1), capacity(initial_capacity ? initial_capacity : 1), data(allocate(capacity)) {
    data[0] = value;
  }

  template <class P, BlockPointer<P, E> = 0>
  TypedArray(P values, QvULong count) : size(count), capacity(count), data(allocate(count)) {
    copy_elements(data, values, count);
  }

  TypedArray(const TypedArray& o) : size(o.size), capacity(o.capacity), data(allocate(o.capacity)) {
    copy_elements(data, o.data, o.size);
  }

  TypedArray& operator=(const TypedArray& o) {
    if (this == &o) return *this;
    E* block = allocate(o.capacity);
    free_block(data);
    data = block;
    capacity = o.capacity;
    size = o.size;
    copy_elements(data, o.data, o.size);
    return *this;
  }

  ~TypedArray() {
    free_block(data);
    data = nullptr;
  }

  E& operator[](QvULong i) { return data[i]; }
  const E& operator[](QvULong i) const { return data[i]; }

  QvULong GetSize() const { return size; }

  void Add(const E& value) {
    if (size < capacity) {
      data[size++] = value;
      return;
    }
    // The value may live in this very block, which the capacity rule is about to replace.
    const E copy = value;
    const QvULong old_size = size;
    size = old_size + 1;
    apply_capacity_rule(old_size, size);
    data[old_size] = copy;
  }

  template <class P, BlockPointerOrNull<P, E> = 0> void Add(P values, QvULong count) {
    append_block(values, count);
  }

  void Add(const Derived& other) { append_block(other.data, other.size); }

  void Chop(QvULong n) {
    if (size > n) size = n;
  }

  // Never grows an array.
  void ChopAndResize(QvULong n) {
    if (size > n) Resize(n);
  }

 protected:
  void append_block(const E* values, QvULong count) {
    const QvULong old_size = size;
    size = old_size + count;
    apply_capacity_rule(old_size, size);
    copy_elements(data + old_size, values, count);
  }

  void AddRange(const Derived& other, QvULong from, QvULong to) {
    append_block(other.data + from, to - from + 1);
  }

  void InsertBefore(QvULong i, const E& value) {
    const E copy = value;  // read before anything moves: the value may be one of ours
    InsertBefore(i, &copy, 1);
  }

  void InsertBefore(QvULong i, const E* values, QvULong count) {
    const QvULong old_size = size;
    size = old_size + count;
    apply_capacity_rule(old_size, size);
    std::memmove(static_cast<void*>(data + i + count), data + i,
                 static_cast<std::size_t>(old_size - i) * sizeof(E));
    copy_elements(data + i, values, count);
  }

  void InsertBefore(QvULong i, const Derived& other) { InsertBefore(i, other.data, other.size); }

  void Remove(QvULong i) {
    if (capacity >= 2 && i + 1 < size) {
      std::memmove(static_cast<void*>(data + i), data + i + 1,
                   static_cast<std::size_t>(size - i - 1) * sizeof(E));
    }
    --size;
    shrink_after_removal();
  }

  void RemoveClosedRange(QvULong first, QvULong last) {
    if (last + 1 < size) {
      std::memmove(static_cast<void*>(data + first), data + last + 1,
                   static_cast<std::size_t>(size - last - 1) * sizeof(E));
    }
    size -= last - first + 1;
    shrink_after_removal();
  }

  void Resize(QvULong n) {
    const QvULong old_size = size;
    size = n;
    apply_capacity_rule(old_size, n);
  }

 private:
  static E* allocate(QvULong count) {
    const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(E);
    void* block = allocate_block(bytes);
    if constexpr (ZeroFill) std::memset(block, 0, bytes);
    return static_cast<E*>(block);
  }

  static void copy_elements(E* to, const E* from, QvULong count) {
    if (count) std::memcpy(static_cast<void*>(to), from, static_cast<std::size_t>(count) * sizeof(E));
  }

  void reallocate(QvULong old_size, QvULong n) {
    const QvULong c = next_capacity(capacity, n);
    E* block = allocate(c);
    copy_elements(block, data, old_size < n ? old_size : n);
    free_block(data);
    data = block;
    capacity = c;
  }

  void apply_capacity_rule(QvULong old_size, QvULong n) {
    if (capacity >= n && capacity / 2 < n) return;
    reallocate(old_size, n);
  }

  // Removals shrink only below half the capacity, one step later than Resize does: a removal
  // followed by an append at the boundary must not reallocate twice.
  void shrink_after_removal() {
    if (size < capacity / 2) reallocate(size, size);
  }
};

}  // namespace qv::internal

class QvDoubleArray : public qv::internal::TypedArray<QvDoubleArray, double, false> {
 public:
  using Base = qv::internal::TypedArray<QvDoubleArray, double, false>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
};

class QvFloatArray : public qv::internal::TypedArray<QvFloatArray, float, false> {
 public:
  using Base = qv::internal::TypedArray<QvFloatArray, float, false>;
  using Base::Base;
  using Base::Add;
};

class QvUByteArray : public qv::internal::TypedArray<QvUByteArray, unsigned char, false> {
 public:
  using Base = qv::internal::TypedArray<QvUByteArray, unsigned char, false>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
};

class QvUShortArray : public qv::internal::TypedArray<QvUShortArray, unsigned short, false> {
 public:
  using Base = qv::internal::TypedArray<QvUShortArray, unsigned short, false>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
};

class QvULongArray : public qv::internal::TypedArray<QvULongArray, QvULong, false> {
 public:
  using Base = qv::internal::TypedArray<QvULongArray, QvULong, false>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
};

// One 32-bit word per flag.
class QvBoolArray : public qv::internal::TypedArray<QvBoolArray, QvLong, false> {
 public:
  using Base = qv::internal::TypedArray<QvBoolArray, QvLong, false>;
  using Base::Base;
  using Base::Add;
  using Base::Remove;
};

// Holds pointers it does not own.
class QvLPVoidArray : public qv::internal::TypedArray<QvLPVoidArray, void*, false> {
 public:
  using Base = qv::internal::TypedArray<QvLPVoidArray, void*, false>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
};

class QvPointTagArray : public qv::internal::TypedArray<QvPointTagArray, QvPointTag, false> {
 public:
  using Base = qv::internal::TypedArray<QvPointTagArray, QvPointTag, false>;
  using Base::Base;
  using Base::Add;
};

class QvPoint2fArray : public qv::internal::TypedArray<QvPoint2fArray, QvPoint2<float>, true> {
 public:
  using Base = qv::internal::TypedArray<QvPoint2fArray, QvPoint2<float>, true>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
  void Add(double x, double y) { Add(QvPoint2<float>(static_cast<float>(x), static_cast<float>(y))); }
  void Add(const QvPoint2fArray& other, QvULong from, QvULong to) { AddRange(other, from, to); }
};

class QvPoint2dArray : public qv::internal::TypedArray<QvPoint2dArray, QvPoint2<double>, true> {
 public:
  using Base = qv::internal::TypedArray<QvPoint2dArray, QvPoint2<double>, true>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  void Add(double x, double y) { Add(QvPoint2<double>(x, y)); }
  void Add(const QvPoint2dArray& other, QvULong from, QvULong to) { AddRange(other, from, to); }
};

class QvPoint3fArray : public qv::internal::TypedArray<QvPoint3fArray, QvPoint3<float>, true> {
 public:
  using Base = qv::internal::TypedArray<QvPoint3fArray, QvPoint3<float>, true>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
};

class QvPoint3dArray : public qv::internal::TypedArray<QvPoint3dArray, QvPoint3<double>, true> {
 public:
  using Base = qv::internal::TypedArray<QvPoint3dArray, QvPoint3<double>, true>;
  using Base::Base;
  using Base::Add;
  using Base::InsertBefore;
  using Base::Remove;
  using Base::RemoveClosedRange;
  void Add(double x, double y, double z) { Add(QvPoint3<double>(x, y, z)); }
};


#endif
