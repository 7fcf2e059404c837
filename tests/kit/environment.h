// Environment variables that are set while the object lives.

#ifndef ORLA_TESTS_KIT_ENVIRONMENT_H
#define ORLA_TESTS_KIT_ENVIRONMENT_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

// Sets a variable, or removes it when `value` is null, and puts the earlier value back.
class WithVariable {
 public:
  WithVariable(const char *name, const char *value) : name_(name) {
    const char *earlier = std::getenv(name);
    if (earlier != nullptr) earlier_ = earlier;
    put(value);
  }
  ~WithVariable() { put(earlier_ ? earlier_->c_str() : nullptr); }
  WithVariable(const WithVariable &) = delete;
  WithVariable &operator=(const WithVariable &) = delete;

 private:
  void put(const char *value) const {
    if (value != nullptr) {
      setenv(name_, value, 1);
    } else {
      unsetenv(name_);
    }
    tzset();
  }

  const char *name_;
  std::optional<std::string> earlier_;
};

// A zone given by its rules, so that no zone file of the host matters.
class WithZone : public WithVariable {
 public:
  explicit WithZone(const char *rules) : WithVariable("TZ", rules) {}
};

inline constexpr const char *kNewYork = "EST5EDT,M3.2.0,M11.1.0";
inline constexpr const char *kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";

#endif
