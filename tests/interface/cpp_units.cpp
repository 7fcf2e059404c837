// Two units of one program that use all of orla.hpp, together with the platform's header whose
// names the library has too: compile_hpp.py compiles them in many ways, the second one with
// SECOND_UNIT.

#ifdef SECOND_UNIT
#include <arpa/inet.h>
#endif

#include <orla/orla.hpp>

#include <arpa/inet.h>

#include <unordered_map>
#include <vector>

std::string second_unit(const orla::profile &profile);

namespace {

// True when everything answers, which this unit and the other one then do by the same functions.
template <typename Profile>
bool everything_answers(const Profile &profile) {
  constexpr auto christmas = orla::date::from_fields(2007, 12, 25);
  static_assert(christmas && christmas->number() == 7667);
  static_assert(orla::date::parse_iso("2007-12-25") == christmas);
  static_assert(*christmas + 10 > *christmas && *christmas + 10 - *christmas == 10);
  static_assert(orla::stamp(0x80000000).utc().tm_year == 138);
  bool all = christmas->text() == "12/25/2007" && christmas->iso_text() == "2007-12-25" &&
             orla::date::parse("12/25/2007") == christmas && orla::date::today() != *christmas;
#if __cplusplus >= 202002L
  static_assert(orla::date::from(christmas->to_chrono()) == christmas);
  static_assert(std::is_eq(*christmas <=> *christmas));
#endif

  const orla::stamp now = orla::stamp::now();
  all = all && orla::stamp::from(now.to_chrono()) == now && now.local().tm_mday > 0 &&
        orla::stamp::now_local() != orla::stamp() && now.day() > *christmas;

  std::unordered_map<orla::uuid, int> seen;
  const orla::uuid made = orla::uuid::generate();
  ++seen[made];
  ++seen[orla::uuid::reserved(7)];
  const auto read = orla::uuid::parse(made.text());
  all = all && read == made && !(*read < made) && made.bucket(1) == 0 && seen.size() == 2;

  const std::string key = "Key";
  all = all && !profile.get("Section", key) && !profile.get_int("Section", "Key") &&
        !profile.set("Section", key, "value") && !orla::profile::in_force().path().empty();

  const orla::library mathematics("libm.so.6");
  auto *cosine = mathematics.symbol<double(double)>("cos");
  all = all && mathematics && mathematics.error().empty() && cosine != nullptr && cosine(0.0) > 0.5;

  std::vector<std::string_view> fields;
  for (const std::string_view field : orla::tokens("'one' 'two'", '\''))
    fields.push_back(field);
  all = all && fields == std::vector<std::string_view>{"one", "two"};

  const orla::host_figures host = orla::host();
  all = all && host.processors && host.processors->count > 0 && host.memory && *host.memory > 0 &&
        (host.disks || *host.disks.reason != '\0');
  all = all && !orla::user_name().empty() && !orla::group_name().empty() &&
        orla::node_name().size() < ORLA_NODE_NAME_SIZE;
  orla::tracef("%s", "not traced");
#ifdef __cpp_lib_format
  orla::trace("{} {}", 1, "not traced");
#endif
  return all && htonl(1) != 1;
}

}  // namespace

#ifdef SECOND_UNIT
std::string second_unit(const orla::profile &profile) {
  return everything_answers(profile) ? "yes" : "no";
}
#else
int main() {
  const orla::profile nowhere("/nowhere/profile.ini");
  return everything_answers(nowhere) && second_unit(nowhere) == "yes" ? 0 : 1;
}
#endif
