// Fakes of the host: a test executable defines a function that the library calls by name, and the
// linker binds the library's call to it. Unless a test has armed it, a fake passes the call on.
//
//     With clock(fake_time, [](std::time_t *out) { return *out = 1234567890; });

#ifndef ORLA_TESTS_FAKES_FAKE_H
#define ORLA_TESTS_FAKES_FAKE_H

#include <dlfcn.h>

#include <functional>
#include <memory>
#include <utility>

template <typename Signature>
class Fake;

template <typename Result, typename... Arguments>
class Fake<Result(Arguments...)> {
 public:
  using Body = std::function<Result(Arguments...)>;

  explicit constexpr Fake(const char *symbol) : symbol_(symbol) {}

  Result operator()(Arguments... arguments) {
    return armed_ != nullptr ? (*armed_)(arguments...) : real(arguments...);
  }

  // The function of the next library that has it.
  Result real(Arguments... arguments) const {
    return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, symbol_))(arguments...);
  }

  bool is_armed() const { return armed_ != nullptr; }

  const Body *arm(const Body *body) { return std::exchange(armed_, body); }

 private:
  const char *symbol_;
  const Body *armed_ = nullptr;  // constant-initialised: calls come before any constructor has run
};

// Arms a fake for as long as it lives.
template <typename Signature>
class With {
 public:
  template <typename Body>
  With(Fake<Signature> &fake, Body body)
      : fake_(fake),
        body_(std::make_unique<const typename Fake<Signature>::Body>(std::move(body))),
        earlier_(fake.arm(body_.get())) {}
  ~With() { fake_.arm(earlier_); }
  With(const With &) = delete;
  With &operator=(const With &) = delete;

 private:
  Fake<Signature> &fake_;
  std::unique_ptr<const typename Fake<Signature>::Body> body_;
  const typename Fake<Signature>::Body *earlier_;
};

template <typename Signature, typename Body>
With(Fake<Signature> &, Body) -> With<Signature>;

#endif
