#pragma once
/// @file
/// Avo::function: a small copyable callable holder. Copies share the target
/// behind a shared pointer, so copying is cheap and never copies the target.

#include "Avo/Logging.h" // AVO_ASSERT2

#include <memory>
#include <type_traits>
#include <utility>

namespace Avo {

template <class Signature>
class function;

/// Holds any callable of the signature R(Args...), like std::function, but
/// copies share one target instead of copying it.
template <class R, class... Args>
class function<R(Args...)> {
public:
  /// An empty holder; calling it fails AVO_ASSERT2(m_storage).
  function() = default;

  /// Holds a copy of the callable f.
  template <class F, class = std::enable_if_t<!std::is_same<std::decay_t<F>, function>::value>>
  function(F&& f) // NOLINT(google-explicit-constructor): converts like std::function
      : m_storage(std::make_shared<Target<std::decay_t<F>>>(std::forward<F>(f))) {}

  /// Calls the target; an empty holder fails AVO_ASSERT2(m_storage)
  /// (Avo::AssertionFailed).
  R operator()(Args... args) const {
    AVO_ASSERT2(m_storage);
    return m_storage->Call(std::forward<Args>(args)...);
  }

  /// True when the holder has a target.
  explicit operator bool() const { return static_cast<bool>(m_storage); }

private:
  struct Callable {
    virtual ~Callable() = default;
    virtual R Call(Args... args) = 0;
  };

  template <class F>
  struct Target final : Callable {
    template <class G>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): a Target is never copied
    explicit Target(G&& g) : f(std::forward<G>(g)) {}
    R Call(Args... args) override { return f(std::forward<Args>(args)...); }
    F f;
  };

  std::shared_ptr<Callable> m_storage;
};

/// The relevance predicate of blocking device stack requests.
using BoolReader = function<bool()>;

} // namespace Avo
