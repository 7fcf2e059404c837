/** @file
 *  The library for C++17 and later: its values as types, its failures as values.
 *
 *  It stands on the C headers, which describe in full what is only named here, and behaves as they
 *  do, quirks included. What is `constexpr`, and order and hash of UUIDs, is computed inline; the
 *  rest calls the function that it names. There is no state of its own.
 *
 *  Errors: a failure that a caller must expect is a value: an empty std::optional, false, a reason.
 *  Nothing throws but the allocation of a string and, in trace(), a formatter of the program's own.
 *  Exceptions and RTTI may be switched off.
 *  Threads: safe, each on its own objects, where nothing else is said.
 */
#ifndef ORLA_ORLA_HPP
#define ORLA_ORLA_HPP

#include <dlfcn.h>
#include <orla/orla.h>
#include <sys/sysinfo.h>

#include <chrono>
#include <cstdarg>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#if __cplusplus >= 202002L
#include <compare>
#if __has_include(<format>)
#include <format>
#endif
#endif

namespace orla {

/** A text that ends in a zero byte: a literal, a char array, a std::string. Not a std::string_view,
 *  which need not end in one. It is not copied. */
struct zstring {
  constexpr zstring(const char *cstr) noexcept : text(cstr) {}
  zstring(const std::string &string) noexcept : text(string.c_str()) {}
  constexpr operator const char *() const noexcept { return text; }
  const char *text;
};

namespace detail {
// The comparisons of a type, by its key().
template <typename T>
struct ordered {
  friend constexpr bool operator==(const T &a, const T &b) noexcept { return a.key() == b.key(); }
  friend constexpr bool operator!=(const T &a, const T &b) noexcept { return !(a == b); }
  friend constexpr bool operator<(const T &a, const T &b) noexcept { return a.key() < b.key(); }
  friend constexpr bool operator>(const T &a, const T &b) noexcept { return b < a; }
  friend constexpr bool operator<=(const T &a, const T &b) noexcept { return !(b < a); }
  friend constexpr bool operator>=(const T &a, const T &b) noexcept { return !(a < b); }
#if __cplusplus >= 202002L
  friend constexpr std::strong_ordering operator<=>(const T &a, const T &b) noexcept {
    return a < b ? std::strong_ordering::less : int{b < a} <=> 0;
  }
#endif
};

template <std::size_t Size>
std::string filled(void (*fill)(char *)) {
  char text[Size];
  fill(text);
  return text;
}

}  // namespace detail

/** A day: a date number of orla/time.h, 1970-01-01 to 2149-06-05.
 *
 *  Every year divisible by 4 is a leap year. The one difference from std::chrono is therefore 2100:
 *  2100-02-29 is a day here, and differences across it are a day more.
 *  Days are ordered as they follow each other, not by number: 1970-01-01, the first, is 59331. */
class date : public detail::ordered<date> {
 public:
  /** Calendar fields: the year in full, the month from 1 to 12, the day from 1 to 31. */
  struct civil {
    int year, month, day;
  };

  /** 1986-12-28, whose date number is 0. */
  constexpr date() noexcept = default;
  constexpr explicit date(std::uint16_t number) noexcept : number_(number) {}
  /** The day of calendar fields, as data_to_date() gives it.
   *  @param[in] year  in full, not checked: one before 1970 counts as if it began on 1970-01-01; a
   *                   day after 2149-06-05 wraps onto 1970-01-01.
   *  @return    none for a month or a day that does not exist. */
  static constexpr std::optional<date> from_fields(int year, int month, int day) noexcept {
    if (month < 1 || month > 12 || day < 1 || day > days_in_month(year, month)) return std::nullopt;
    const unsigned years = year > 1970 ? static_cast<unsigned>(year) - 1970 : 0;
    // A straight line through the starts of months, in 1/16 day, as if February had 30 days.
    const int first = (489 * month - 480) / 16 - (month < 3 ? 0 : 30 - days_in_month(year, 2));
    return from_days(365 * years + (years + 1) / 4 + static_cast<unsigned>(first + day - 1));
  }
  /** The day `days` days after 1970-01-01, modulo 65,536. */
  static constexpr date from_days(unsigned days) noexcept {
    return date(static_cast<std::uint16_t>(days - kDaysToNumber0));
  }
  /** The day of a text such as "12/31/2007": string_to_date(). None for a text that it rejects. */
  static std::optional<date> parse(zstring text) noexcept {
    date day;
    return string_to_date(text, &day.number_) != 0 ? std::optional(day) : std::nullopt;
  }
  /** The day of an ISO text: "2007-12-31", ten characters and no more. None for any other text, and
   *  for a day that does not exist or has no date number. */
  static constexpr std::optional<date> parse_iso(std::string_view text) noexcept {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') return std::nullopt;
    const int year = number_of(text.substr(0, 4));
    const auto day = from_fields(year, number_of(text.substr(5, 2)), number_of(text.substr(8)));
    return day && day->fields().year == year ? day : std::nullopt;
  }
  /** Today's local date: wek_date_stamp(). Threads: rewrites the C library's record (serialise). */
  static date today() noexcept { return date(wek_date_stamp()); }
  constexpr std::uint16_t number() const noexcept { return number_; }
  /** Days since 1970-01-01, 0 to 65,535: what dates are ordered by. */
  constexpr std::uint16_t key() const noexcept {
    return static_cast<std::uint16_t>(number_ + kDaysToNumber0);
  }
  /** Its calendar fields: `auto [year, month, day] = christmas.fields();` */
  constexpr civil fields() const noexcept {
    // Years begin in March, which puts the leap day last. From March 1968 to 1970 are 671 days.
    const int quarter_days = 4 * (key() + 671) + 3;       // 2687 to 264,827
    const int day_of_year = quarter_days % 1461 / 4;      // 0 to 365
    const int position = 2141 * day_of_year + 197913;     // in 1/65536 month; March is 3
    const int in_next_year = day_of_year >= 306 ? 1 : 0;  // January and February
    return {1968 + quarter_days / 1461 + in_next_year, position / 65536 - 12 * in_next_year,
            position % 65536 / 2141 + 1};
  }
  /** "12/31/2007": date_to_string(). */
  std::string text() const {
    char text[ORLA_DATE_TEXT_SIZE];
    date_to_string(text, number_);
    return text;
  }
  /** "2007-12-31". */
  std::string iso_text() const {
    const std::string us_text = text();
    return us_text.substr(6) + '-' + us_text.substr(0, 2) + '-' + us_text.substr(3, 2);
  }
  /** 28 to 31. The month is not checked: of one outside 1 to 12 the result has no meaning. */
  static constexpr int days_in_month(int year, int month) noexcept {
    if (month == 2) return (year & 3) == 0 ? 29 : 28;
    return 30 + ((month ^ month >> 3) & 1);
  }
  /** Days from b to a: -65,535 to 65,535. */
  friend constexpr int operator-(date a, date b) noexcept { return a.key() - b.key(); }
  /** That many days later or earlier; 1970-01-01 follows 2149-06-05. */
  friend constexpr date operator+(date a, int days) noexcept {
    return date(static_cast<std::uint16_t>(a.number_ + static_cast<unsigned>(days)));
  }
  friend constexpr date operator-(date a, int days) noexcept {
    return date(static_cast<std::uint16_t>(a.number_ - static_cast<unsigned>(days)));
  }
#if __cplusplus >= 202002L && (!defined(_GLIBCXX_RELEASE) || _GLIBCXX_RELEASE > 10)
  /** The day of the same fields, by from_fields(). */
  static constexpr std::optional<date> from(std::chrono::year_month_day day) noexcept {
    return from_fields(int{day.year()}, static_cast<int>(unsigned{day.month()}),
                       static_cast<int>(unsigned{day.day()}));
  }
  /** The same fields: of 2100-02-29 the result is not ok(). */
  constexpr std::chrono::year_month_day to_chrono() const noexcept {
    const civil day = fields();
    return std::chrono::year(day.year) / day.month / day.day;
  }
#endif

 private:
  static constexpr unsigned kDaysToNumber0 = 6205;  // from 1970-01-01 to 1986-12-28
  // Of up to four digits; negative where there is another character.
  static constexpr int number_of(std::string_view digits) noexcept {
    int number = 0;
    for (const char c : digits)
      number = c >= '0' && c <= '9' && number >= 0 ? 10 * number + (c - '0') : -1;
    return number;
  }

  std::uint16_t number_ = 0;
};

/** A stamp of orla/time.h: seconds since 1970-01-01 00:00:00 UTC, unsigned, so up to 2106. */
class stamp : public detail::ordered<stamp> {
 public:
  constexpr stamp() noexcept = default;
  constexpr explicit stamp(std::uint32_t seconds) noexcept : seconds_(seconds) {}
  /** The clock: wek_time_stamp(). */
  static stamp now() noexcept { return stamp(static_cast<std::uint32_t>(wek_time_stamp())); }
  /** The clock as local time, counted as if it were UTC: wek_time_stamp_local().
   *  Threads: rewrites the C library's record (serialise). */
  static stamp now_local() noexcept { return stamp(wek_time_stamp_local()); }
  /** The second that a moment lies in. None for a moment that 32 bits do not hold. */
  static constexpr std::optional<stamp> from(std::chrono::system_clock::time_point when) noexcept {
    const auto second = std::chrono::floor<std::chrono::seconds>(when).time_since_epoch().count();
    if (second < 0 || second > 0xFFFFFFFF) return std::nullopt;
    return stamp(static_cast<std::uint32_t>(second));
  }
  constexpr std::chrono::system_clock::time_point to_chrono() const noexcept {
    return std::chrono::system_clock::time_point(std::chrono::seconds(seconds_));
  }
  constexpr std::uint32_t seconds() const noexcept { return seconds_; }
  constexpr std::uint32_t key() const noexcept { return seconds_; }
  /** Its UTC day. */
  constexpr date day() const noexcept { return date::from_days(seconds_ / 86400); }
  /** Its UTC fields: those of wek_gmtime(), a day behind the Gregorian date from the Gregorian
   *  2100-03-01 on, which they show as 2100-02-29. */
  constexpr std::tm utc() const noexcept {
    const date::civil civil = day().fields();
    std::tm fields{};
    fields.tm_sec = static_cast<int>(seconds_ % 60);
    fields.tm_min = static_cast<int>(seconds_ / 60 % 60);
    fields.tm_hour = static_cast<int>(seconds_ / 3600 % 24);
    fields.tm_mday = civil.day;
    fields.tm_mon = civil.month - 1;
    fields.tm_year = civil.year - 1900;
    fields.tm_wday = (day().key() + 4) % 7;  // 1970-01-01 was a Thursday
    fields.tm_yday = day() - *date::from_fields(civil.year, 1, 1);
    return fields;
  }
  /** Its local fields: a copy of those of wek_localtime().
   *  Threads: rewrites the C library's record (serialise). */
  std::tm local() const noexcept {
    const auto seconds = static_cast<std::int32_t>(seconds_);
    return *wek_localtime(&seconds);
  }

 private:
  std::uint32_t seconds_ = 0;
};

/** A UUID of orla/uuid.h: the record with its order, its hashes and its text. */
class uuid : public detail::ordered<uuid> {
 public:
  /** The nil UUID. */
  constexpr uuid() noexcept = default;
  constexpr uuid(const k7_uuid__t &record) noexcept : record_(record) {}
  /** A UUID of this moment on this host: orla_uuid_gen(). Two made within 4 microseconds are equal;
   *  where there is no host identifier, the address of a temporary stands in for it. */
  static uuid generate() noexcept {
    uuid made;
    orla_uuid_gen(&made.record_);
    return made;
  }
  /** A UUID of the reserved space with the time of this moment: orla_reserved_uuid_gen(). */
  static uuid reserved(std::uint16_t number) noexcept {
    uuid made;
    orla_reserved_uuid_gen(&made.record_, number);
    return made;
  }
  /** The UUID of a text: orla_uuid_decode(). None for a text that is malformed. */
  static std::optional<uuid> parse(zstring text) noexcept {
    uuid read;
    orla_status status = 0;
    orla_uuid_decode(text, &read.record_, &status);
    return status == 0 ? std::optional(read) : std::nullopt;
  }
  constexpr const k7_uuid__t &record() const noexcept { return record_; }
  /** Its 36 characters: orla_uuid_encode(). */
  std::string text() const {
    char text[ORLA_UUID_TEXT_SIZE];
    orla_uuid_encode(&record_, text);
    return text;
  }
  /** What orla_uuid_hash() gives: 0 to modulus - 1, and at most 65,535.
   *  @param[in] modulus  1 or more. Not checked: 0 is a division fault. */
  std::uint32_t bucket(std::uint32_t modulus) const noexcept {
    const std::uint64_t mixed = key().first ^ key().second;
    const auto folded = static_cast<std::uint32_t>(mixed ^ mixed >> 32);
    return ((folded ^ folded >> 16) & 0xFFFF) % modulus;
  }
  /** What std::hash gives: more values than the 65,536 of bucket(), so for tables of any size. It
   *  differs between hosts of different word size or byte order. */
  std::size_t hash() const noexcept {
    const std::uint64_t mixed =
        key().first * 0x9E3779B97F4A7C15 + key().second * 0xD6E8FEB86659FD93;
    return (mixed << 16 | mixed >> 48) & SIZE_MAX;  // the best mixed bits come lowest
  }
  /** All 16 bytes as they lie in memory; they compare as orla_uuid_cmp() compares records. */
  struct bits {
    std::uint64_t first, second;
    bool operator==(bits b) const noexcept { return first == b.first && second == b.second; }
    bool operator<(bits b) const noexcept {
      return first != b.first ? numbers() < b.numbers() : bytes() < b.bytes();
    }
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    std::uint64_t numbers() const noexcept {
      return first << 32 | (first >> 16 & 0xFFFF0000) | first >> 48;
    }
    std::uint64_t bytes() const noexcept { return __builtin_bswap64(second); }
#else
    std::uint64_t numbers() const noexcept { return first; }
    std::uint64_t bytes() const noexcept { return second; }
#endif
  };
  bits key() const noexcept {
    bits all;
    std::memcpy(&all, &record_, sizeof all);
    return all;
  }

 private:
  k7_uuid__t record_{};
};

/** A profile file, read and written as orla/profile.h describes: each call opens it anew. */
class profile {
 public:
  /** ORLA_DEFAULT_PROFILE_PATH stands for what `ORLA_CONFIG` names, but not in get_int(). */
  explicit profile(std::string path) : path_(std::move(path)) {}
  /** The profile in force, by orla_cfg_file(). Threads: the first call settles it (serialise). */
  static profile in_force() {
    char path[ORLA_PROFILE_PATH_SIZE];
    orla_cfg_file(path, nullptr);
    return profile(path);
  }

  const std::string &path() const noexcept { return path_; }
  /** Reads a value of any length: `get(section, key).value_or(text)` is what
   *  orla_cfg_get_private_profile_string() answers with that default.
   *  @return none for a value that is not found, is empty or is only spaces. */
  std::optional<std::string> get(zstring section, zstring key) const {
    unsigned size = 256;
    std::string value(size - 1, '\0');
    while (orla_cfg_get_private_profile_string(section, key, nullptr, value.data(), size,
                                               path_.c_str()) == size - 1)
      value.resize((size *= 2) - 1);  // it may have been cut
    value.resize(std::strlen(value.c_str()));
    if (value.find_first_not_of(' ') == std::string::npos) return std::nullopt;
    return value;
  }
  /** Reads a number: `get_int(section, key).value_or(number)` is what
   *  orla_cfg_get_private_profile_int() answers with that default.
   *  @return 0 to 99999; none for a value that is not found, is empty or has more than 5
   *          characters. */
  std::optional<int> get_int(zstring section, zstring key) const noexcept {
    const int number = orla_cfg_get_private_profile_int(section, key, -1, path_.c_str());
    return number < 0 ? std::nullopt : std::optional(number);
  }
  /** Writes one key: orla_cfg_write_private_profile_string(). False where that fails. */
  [[nodiscard]] bool set(zstring section, zstring key, zstring value) const noexcept {
    return orla_cfg_write_private_profile_string(section, key, value, path_.c_str()) == 1;
  }

 private:
  std::string path_;
};

/** A shared library, opened by name as orla/loader.h describes, and closed with the object. */
class library {
 public:
  explicit library(zstring name) {
    orla_status status = ORLA_LOADER_FAILED;
    orla_library_id *id = orla_slnk_allocate_library_id();
    if (id != nullptr) orla_slnk_load_library(name, id, &status);
    if (status == 0) {
      id_.reset(id);
    } else {
      orla_slnk_free_library_id(id);
      error_ = reason(name);
    }
  }
  explicit operator bool() const noexcept { return id_ != nullptr; }
  /** Why it did not open: what the dynamic linker says of the name when asked again. Empty when it
   *  opened. */
  const std::string &error() const noexcept { return error_; }
  /** The address of a function, `symbol<int(const char *)>("puts")`, or of a variable,
   *  `symbol<int>("count")`. The type is not checked.
   *  @return null without a library, and for a missing symbol, which is reported on standard
   *          output. */
  template <typename Symbol>
  Symbol *symbol(zstring name) const noexcept {
    if (id_ == nullptr) return nullptr;
    orla_status status = 0;
    return reinterpret_cast<Symbol *>(orla_slnk_get_proc_addr(id_.get(), name, &status));
  }

 private:
  static void close(orla_library_id *id) noexcept {
    orla_slnk_free_library(id);
    orla_slnk_free_library_id(id);
  }
  // The loader has read and cleared dlerror(), so the linker is asked again.
  static std::string reason(zstring name) {
    void *handle = dlopen(name, RTLD_NOW);
    if (handle == nullptr) return dlerror();
    dlclose(handle);
    return "opens for the program, but did not open for orla";
  }

  std::unique_ptr<orla_library_id, void (*)(orla_library_id *)> id_{nullptr, close};
  std::string error_;
};

/** The tokens of a text, as orla/token.h has them: a range of views of the text, which must outlive
 *  them. The text ends at a zero byte, so that is never a delimiter. A token that is not closed
 *  does not count. */
class tokens {
 public:
  using iterator_category = std::input_iterator_tag;  // the range is its own iterator
  using value_type = std::string_view;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = std::string_view;

  constexpr tokens() noexcept = default;
  constexpr tokens(std::string_view text, char delimiter) noexcept
      : rest_(text.substr(0, text.find('\0'))), delimiter_(delimiter) {
    ++*this;
  }
  constexpr tokens begin() const noexcept { return *this; }
  constexpr tokens end() const noexcept { return {}; }
  constexpr std::string_view operator*() const noexcept { return token_; }
  constexpr tokens &operator++() noexcept {
    const std::size_t opening = rest_.find(delimiter_);
    const std::size_t closing = rest_.find(delimiter_, opening + 1);  // npos + 1 is the start again
    if (closing == std::string_view::npos) return *this = tokens();
    token_ = rest_.substr(opening + 1, closing - opening - 1);
    rest_.remove_prefix(closing + 1);
    return *this;
  }
  constexpr void operator++(int) noexcept { ++*this; }
  friend constexpr bool operator==(const tokens &a, const tokens &b) noexcept {
    return a.token_.data() == b.token_.data();
  }
  friend constexpr bool operator!=(const tokens &a, const tokens &b) noexcept { return !(a == b); }

 private:
  std::string_view token_;  // each has its own address, and the end has none
  std::string_view rest_;
  char delimiter_ = '\0';
};

/** A figure, or the reason why there is none. */
template <typename Number>
struct figure : std::optional<Number> {
  const char *reason;  ///< empty where there is a figure
  figure(bool known, Number number, const char *why_not) : reason(known ? "" : why_not) {
    if (known) this->emplace(number);
  }
};

/** What host() finds. */
struct host_figures {
  struct processor_count {
    int count;
    orla_count_method method;
  };
  figure<processor_count> processors;  ///< by count_physical_proc()
  figure<std::uint64_t> memory;        ///< bytes: by sysinfo(), multiplied by its unit
  figure<unsigned> disks;              ///< by tavGetDisks()
};

/** Asks for all three. A kernel log that cannot be read ends the process: ht_os_cpus().
 *  Threads: safe unless tracing is on. */
inline host_figures host() noexcept {
  int count = 0;
  const auto method = static_cast<orla_count_method>(count_physical_proc(&count));
  struct sysinfo kernel = {};
  const bool answers = ::sysinfo(&kernel) == 0;
  unsigned disks = 0;
  const bool counted = tavGetDisks(&disks) == 0;
  return {{count >= 0, {count, method}, "the kernel gives no configured count"},
          {answers, std::uint64_t{kernel.totalram} * kernel.mem_unit, "sysinfo() fails"},
          {counted, disks, "only root may count disks"}};
}

/** The real user, the real group, this node: orla_get_user_name() and so on. None of them fails: a
 *  name that is not available is "unknown", that of the node empty. Threads: as these functions. */
inline std::string user_name() { return detail::filled<ORLA_NAME_SIZE>(orla_get_user_name); }
inline std::string group_name() { return detail::filled<ORLA_NAME_SIZE>(orla_get_group_name); }
inline std::string node_name() { return detail::filled<ORLA_NODE_NAME_SIZE>(orla_get_node_name); }

/** Writes a trace line while ::orlalib_verbose is on; does nothing while it is off. Formats the
 *  line in ::statuslog, cuts it at 1,022 characters, and hands it with a line feed to TavTrace(),
 *  which in the trace file takes "%%" for one percent sign and "%m" for the text of `errno`.
 *  @param[in] format  printf() format.
 *  Threads: shares the buffer and the trace stream (serialise). */
[[gnu::format(printf, 1, 2)]] inline void tracef(const char *format, ...) noexcept {
  if (orlalib_verbose == 0) return;
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(statuslog, sizeof statuslog - 1, format, arguments);
  va_end(arguments);
  TavTrace(std::strcat(statuslog, "\n"));
  statuslog[0] = '\0';
}
#ifdef __cpp_lib_format
/** As tracef(), by a format of std::format. Throws what a formatter of the program's own throws. */
template <typename... Arguments>
void trace(std::format_string<Arguments...> format, Arguments &&...arguments) {
  if (orlalib_verbose == 0) return;
  tracef("%s", std::format(format, std::forward<Arguments>(arguments)...).c_str());
}
#endif

}  // namespace orla

template <>
struct std::hash<orla::uuid> {
  std::size_t operator()(const orla::uuid &uuid) const noexcept { return uuid.hash(); }
};

#endif
