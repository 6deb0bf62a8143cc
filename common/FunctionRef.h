// A reference to something callable, for the time of a call: what a template parameter
// would do, but compiled once. The callable must outlive it.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

template <typename Signature>
class FunctionRef;

template <typename Result, typename... Arguments>
class FunctionRef<Result(Arguments...)> {
 public:
    template <typename Callable>
    requires(!std::is_same_v<std::remove_cvref_t<Callable>, FunctionRef>)
        // Implicit, because it stands where the callable was written; the constraint leaves the
        // copy constructor alone.
        // NOLINTNEXTLINE(google-explicit-constructor,bugprone-forwarding-reference-overload)
        FunctionRef(Callable&& callable)
    noexcept
        : object_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
          call_([](void* object, Arguments... arguments) -> Result {
              return (*static_cast<std::remove_reference_t<Callable>*>(object))(
                  std::forward<Arguments>(arguments)...);
          }) {}

    Result operator()(Arguments... arguments) const {
        return call_(object_, std::forward<Arguments>(arguments)...);
    }

 private:
    void* object_;
    Result (*call_)(void*, Arguments...);
};
