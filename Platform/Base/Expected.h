#pragma once
// A value or a typed error. The standard's std::expected is C++23; this is the small
// part of it the project uses.
#include <cassert>
#include <utility>
#include <variant>

namespace platform {

template <typename E>
struct Unexpected {
  E error;
};

template <typename E>
Unexpected<E> unexpected(E error) { return Unexpected<E>{std::move(error)}; }

template <typename T, typename E>
class Expected {
 public:
  Expected(T value) : storage_(std::in_place_index<0>, std::move(value)) {}
  Expected(Unexpected<E> failure) : storage_(std::in_place_index<1>, std::move(failure.error)) {}

  bool hasValue() const { return storage_.index() == 0; }
  explicit operator bool() const { return hasValue(); }

  T& value() & { assert(hasValue()); return std::get<0>(storage_); }
  const T& value() const& { assert(hasValue()); return std::get<0>(storage_); }
  T&& value() && { assert(hasValue()); return std::get<0>(std::move(storage_)); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  T& operator*() & { return value(); }
  const T& operator*() const& { return value(); }

  const E& error() const { assert(!hasValue()); return std::get<1>(storage_); }

 private:
  std::variant<T, E> storage_;
};

}  // namespace platform
