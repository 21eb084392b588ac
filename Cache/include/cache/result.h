#pragma once
// Result<T>: what an asynchronous operation hands its completion: a value or
// the error it failed with. Result<void> stands for "done, no value".
//
// Thread contract: a plain value; move it to the thread that reads it.
//
//   cache::Result<int> r = cache::Result<int>::value(5);
//   cache::Result<bool> exists = r.map([](const int&) { return true; });

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <type_traits>
#include <utility>
#include <variant>

namespace aurimo::cache {

template <class T>
class Result;

namespace result_detail {
template <class F, class T>
struct MapResult {
  using type = std::invoke_result_t<F, const T&>;
};
template <class F>
struct MapResult<F, void> {
  using type = std::invoke_result_t<F>;
};

[[noreturn]] inline void nullError() {
  std::fprintf(stderr, "cache::Result: an error result needs a non-null exception_ptr\n");
  std::abort();
}
}  // namespace result_detail

template <class T>
class Result {
  using Stored = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

 public:
  template <class U = T>
    requires(!std::is_void_v<U>)
  static Result value(U object) {
    return Result(std::in_place_index<0>, std::move(object));
  }
  template <class U = T>
    requires std::is_void_v<U>
  static Result value() {
    return Result(std::in_place_index<0>, std::monostate{});
  }
  static Result error(std::exception_ptr error) {
    if (!error) result_detail::nullError();
    return Result(std::in_place_index<1>, std::move(error));
  }
  template <class E>
    requires std::is_base_of_v<std::exception, std::decay_t<E>>
  static Result error(E&& error) {
    return Result::error(std::make_exception_ptr(std::forward<E>(error)));
  }

  bool isValue() const { return state_.index() == 0; }
  bool isError() const { return state_.index() == 1; }

  // The value; an error result rethrows its error instead.
  decltype(auto) get() const& {
    rethrowIfError();
    if constexpr (!std::is_void_v<T>) return static_cast<const T&>(std::get<0>(state_));
  }
  decltype(auto) get() && {
    rethrowIfError();
    if constexpr (!std::is_void_v<T>) return static_cast<T>(std::get<0>(std::move(state_)));
  }
  // The error, or null for a value.
  std::exception_ptr error() const { return isError() ? std::get<1>(state_) : nullptr; }

  // Transforms a value with `transform`; an error passes through unchanged.
  template <class F>
  auto map(F&& transform) const -> Result<typename result_detail::MapResult<F, T>::type> {
    using U = typename result_detail::MapResult<F, T>::type;
    if (isError()) return Result<U>::error(std::get<1>(state_));
    if constexpr (std::is_void_v<U>) {
      if constexpr (std::is_void_v<T>) std::invoke(std::forward<F>(transform));
      else std::invoke(std::forward<F>(transform), std::get<0>(state_));
      return Result<U>::value();
    } else if constexpr (std::is_void_v<T>) {
      return Result<U>::value(std::invoke(std::forward<F>(transform)));
    } else {
      return Result<U>::value(std::invoke(std::forward<F>(transform), std::get<0>(state_)));
    }
  }

 private:
  template <std::size_t I, class A>
  Result(std::in_place_index_t<I> index, A&& arg) : state_(index, std::forward<A>(arg)) {}

  void rethrowIfError() const {
    if (isError()) std::rethrow_exception(std::get<1>(state_));
  }

  std::variant<Stored, std::exception_ptr> state_;
};

}  // namespace aurimo::cache
