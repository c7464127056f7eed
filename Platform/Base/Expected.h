#pragma once
// A value or a typed error. The standard's std::expected is C++23; this is the small
// part of it the project uses.
//
// The error convention of the whole program:
// - Anything that can fail returns Expected<T, E> (Expected<void, E> when there is no
//   value), with E a typed error that says why: ImageError, MediaError, GpuError,
//   VideoRenderError, std::error_code for a system call. Not std::optional for a
//   failure, not a bool with an out-parameter, not an error string, not -1.
// - Work that runs on after the call (a GPU command buffer, the asset reader and
//   writer, the player) keeps a status and its error, read once it has ended; where
//   making such an object can fail, that returns Expected.
// - Exceptions only at the edges where outside text comes in, JSON and the command
//   line, and caught there; std::bad_alloc is caught where a size comes from a file.
// - The program stops (platform::fatalError, assert) only for a start-up fault it cannot run
//   without and for a broken precondition, a fault of the calling code.
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

// Success with nothing to return, or the error: `return {};` succeeds.
template <typename E>
class Expected<void, E> {
 public:
  Expected() = default;
  Expected(Unexpected<E> failure) : storage_(std::in_place_index<1>, std::move(failure.error)) {}

  bool hasValue() const { return storage_.index() == 0; }
  explicit operator bool() const { return hasValue(); }

  const E& error() const { assert(!hasValue()); return std::get<1>(storage_); }

 private:
  std::variant<std::monostate, E> storage_;
};

}  // namespace platform
