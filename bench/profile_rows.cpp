// Profile files, beside the least that the same work can cost: reading the file and looking through
// it, and writing a copy of it. A rewrite that goes to a disk wants an idle one.

#include <fcntl.h>
#include <orla/profile.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "profile_files.h"
#include "rows.h"

namespace {

std::size_t read_whole(const char *path, std::vector<char> &buffer) {
  const int file = open(path, O_RDONLY);
  std::size_t size = 0;
  ssize_t got;
  while ((got = read(file, buffer.data() + size, buffer.size() - size)) > 0)
    size += static_cast<std::size_t>(got);
  close(file);
  return size;
}

bench::Body read_string(const std::string &path, const std::string &section,
                        const std::string &key) {
  return bench::repeat([path, section, key] {
    char text[64];
    bench::keep_result(orla_cfg_get_private_profile_string(section.c_str(), key.c_str(), "", text,
                                                           sizeof text, path.c_str()));
    bench::keep(text);
  });
}

void read_rows() {
  const std::string large = bench::large_file("large.ini");
  bench::Table late("Profile: a key near the end of 10,000");
  late.floor("read, one memmem",
             bench::repeat([large, buffer = std::vector<char>(1 << 20)]() mutable {
               const std::size_t size = read_whole(large.c_str(), buffer);
               bench::keep_result(memmem(buffer.data(), size, "[Section000998]", 15));
             }));
  late.ours("string reader", read_string(large, "Section000998", "Key08"));
  late.ours("integer reader", bench::repeat([large] {
              bench::keep_result(
                  orla_cfg_get_private_profile_int("Section000998", "Key08", -1, large.c_str()));
            }));

  const std::string small = bench::small_file("small.ini");
  bench::Table few("Profile: a key of 20 lines");
  few.floor("open, read, close", bench::repeat([small, buffer = std::vector<char>(4096)]() mutable {
              bench::keep_result(read_whole(small.c_str(), buffer));
            }));
  few.ours("string reader", read_string(small, "General", "Port"));
}

// Writes the text into a temporary file in the target's folder and renames it.
bench::Body copy_and_rename(const std::string &name, const std::string &text) {
  return bench::repeat([target = bench::temp_folder().file(name), text] {
    std::string temporary = target + "-XXXXXX";
    const int file = mkstemp(temporary.data());
    if (write(file, text.data(), text.size()) < 0) std::abort();
    close(file);
    std::rename(temporary.c_str(), target.c_str());
  });
}

// Gives back the descriptor that each rewrite leaves open: the lowest free one is the next.
bench::Body rewrite(const std::string &path, const char *section, const char *key) {
  return [path, section, key](long n) {
    for (; n > 0; --n) {
      const int next = dup(STDIN_FILENO);
      close(next);
      bench::keep_result(orla_cfg_write_private_profile_string(
          section, key, n % 2 != 0 ? "odd" : "even", path.c_str()));
      close(next);
    }
  };
}

void write_rows() {
  bench::Table big("Profile: rewrite one key of 10,000");
  big.floor("write a copy, rename", copy_and_rename("renamed.ini", bench::product_profile(1000)));
  big.ours("writer", rewrite(bench::large_file("rewritten.ini"), "Section000998", "Key08"));
  bench::Table few("Profile: rewrite one key of 20 lines");
  few.floor("write a copy, rename", copy_and_rename("renamed-small.ini", bench::small_profile()));
  few.ours("writer", rewrite(bench::small_file("rewritten-small.ini"), "General", "Port"));
}

// The last key of files of 1 KB to 100 MB; how the cost grows. A file is written when it is first
// read.
void growth_rows() {
  bench::Table table("Growth: profile, by bytes");
  const std::string last = "[Last]\nKey=value\n";
  const std::size_t section_size = bench::product_profile(1).size();
  for (const int sections : {4, 40, 400, 4000, 40000, 400000}) {
    const auto size =
        static_cast<double>(section_size) * sections + static_cast<double>(last.size());
    table.ours(
        "string reader",
        [=, body = bench::Body()](long n) mutable {
          if (!body) {
            const std::string text = bench::product_profile(sections) + last;
            body = read_string(bench::written("grown" + std::to_string(sections), text), "Last",
                               "Key");
          }
          body(n);
        },
        size);
  }
}

const bench::Rows rows([] {
  read_rows();
  write_rows();
  growth_rows();
});

}  // namespace
