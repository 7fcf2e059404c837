// Profile files, beside the least that the same work can cost: reading the file and looking through it,
// and writing a copy of it. Where a rewrite goes to a disk, its flushes and discards weigh more than all
// else: such rows want an idle disk.

#include <fcntl.h>
#include <orla/profile.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "harness.h"

namespace {

std::string product_profile() {
  std::string text;
  char line[64];
  for (int section = 0; section < 1000; ++section) {
    std::snprintf(line, sizeof line, "[Section%04d]\n", section);
    text += line;
    for (int key = 0; key < 10; ++key) {
      std::snprintf(line, sizeof line, "Key%02d=value of %04d %d\n", key, section, key);
      text += line;
    }
    text += '\n';
  }
  return text;
}

std::string small_profile() {
  std::string text = "[General]\n";
  for (int key = 1; key < 19; ++key)
    text += "Setting" + std::to_string(key) + "=" + std::to_string(key * 11) + "\n";
  return text + "Port=1492\n";
}

void write_file(const char *path, const std::string &text) {
  std::FILE *file = std::fopen(path, "w");
  if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file) != text.size())
    std::abort();
  std::fclose(file);
}

std::string with_carriage_returns(const std::string &text) {
  std::string out;
  for (const char c : text) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

std::size_t read_whole(const char *path, std::vector<char> &buffer) {
  const int file = open(path, O_RDONLY);
  std::size_t size = 0;
  ssize_t got;
  while ((got = read(file, buffer.data() + size, buffer.size() - size)) > 0)
    size += static_cast<std::size_t>(got);
  close(file);
  return size;
}

void read_last_key(const char *path, const char *crlf_path) {
  std::vector<char> buffer(1 << 20);  // outlives the table, which measures when it ends
  bench::Table table("One key near the end of a file of 1,000 sections");
  table.row("read all, one memmem", [&buffer, path](long n) {
    for (; n > 0; --n) {
      const std::size_t size = read_whole(path, buffer);
      bench::keep(memmem(buffer.data(), size, "[Section0998]", 13));
    }
  });
  table.row("fgets of all lines", [path](long n) {
    char line[512];
    for (; n > 0; --n) {
      std::FILE *file = std::fopen(path, "r");
      while (std::fgets(line, sizeof line, file) != nullptr)
        bench::keep(line);
      std::fclose(file);
    }
  });
  table.row("integer reader", [path](long n) {
    for (; n > 0; --n)
      bench::keep(orla_cfg_get_private_profile_int("Section0998", "Key08", -1, path));
  });
  table.row("string reader", [path](long n) {
    char text[64];
    for (; n > 0; --n)
      bench::keep(orla_cfg_get_private_profile_string("Section0998", "Key08", "", text, 64, path));
  });
  table.row("string reader, lines end in CR LF", [crlf_path](long n) {
    char text[64];
    for (; n > 0; --n)
      bench::keep(
          orla_cfg_get_private_profile_string("Section0998", "Key08", "", text, 64, crlf_path));
  });
}

void read_small(const char *path) {
  bench::Table table("One key of a file of 20 lines");
  table.row("open, read, close", [path](long n) {
    char text[4096];
    for (; n > 0; --n) {
      const int file = open(path, O_RDONLY);
      bench::keep(read(file, text, sizeof text));
      close(file);
    }
  });
  table.row("integer reader", [path](long n) {
    for (; n > 0; --n)
      bench::keep(orla_cfg_get_private_profile_int("General", "Port", -1, path));
  });
  table.row("string reader", [path](long n) {
    char text[64];
    for (; n > 0; --n)
      bench::keep(orla_cfg_get_private_profile_string("General", "Port", "", text, 64, path));
  });
}

void copy_and_rename(const std::string &folder, const std::string &text) {
  const std::string temporary = folder + "/copy-XXXXXX";
  std::string name = temporary;
  const int file = mkstemp(name.data());
  if (write(file, text.data(), text.size()) < 0) std::abort();
  close(file);
  std::rename(name.c_str(), (folder + "/renamed.ini").c_str());
}

// Gives back the descriptors that the rewrites have left open.
void close_left_open() {
  for (int descriptor = 3; descriptor < 100000 && close(descriptor) == 0; ++descriptor) {
  }
}

void rewrite_key(const std::string &folder, const char *path, const std::string &text) {
  bench::Table table("One key of a file of 1,000 sections rewritten");
  table.row("write a copy, rename it", [folder, &text](long n) {
    for (; n > 0; --n)
      copy_and_rename(folder, text);
  });
  table.row("writer", [path](long n) {
    for (; n > 0; --n) {
      bench::keep(orla_cfg_write_private_profile_string("Section0998", "Key08", "v", path));
      if (n % 256 == 0) close_left_open();
    }
    close_left_open();
  });
}

}  // namespace

int main() {
  char folder_name[] = "/tmp/orla-bench-XXXXXX";
  if (mkdtemp(folder_name) == nullptr) return 1;
  const std::string folder = folder_name;
  const std::string large = folder + "/large.ini";
  const std::string crlf = folder + "/crlf.ini";
  const std::string small = folder + "/small.ini";
  const std::string text = product_profile();
  write_file(large.c_str(), text);
  write_file(crlf.c_str(), with_carriage_returns(text));
  write_file(small.c_str(), small_profile());
  std::printf("1,000 sections of 10 keys: %zu bytes\n", text.size());
  read_last_key(large.c_str(), crlf.c_str());
  read_small(small.c_str());
  rewrite_key(folder, large.c_str(), text);
  for (const char *name : {"large.ini", "crlf.ini", "small.ini", "renamed.ini"})
    unlink((folder + "/" + name).c_str());
  rmdir(folder_name);
}
