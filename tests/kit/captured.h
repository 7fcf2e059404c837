// What is written to a file descriptor while the object lives.

#ifndef ORLA_TESTS_KIT_CAPTURED_H
#define ORLA_TESTS_KIT_CAPTURED_H

#include <unistd.h>

#include <cstdio>
#include <string>

class Captured {
 public:
  explicit Captured(int descriptor) : descriptor_(descriptor), file_(std::tmpfile()) {
    std::fflush(nullptr);
    earlier_ = dup(descriptor);
    dup2(fileno(file_), descriptor);
  }
  ~Captured() {
    restore();
    std::fclose(file_);
  }
  Captured(const Captured &) = delete;
  Captured &operator=(const Captured &) = delete;

  // Ends the capture.
  std::string text() {
    restore();
    std::rewind(file_);
    std::string text;
    char block[4096];
    while (const std::size_t length = std::fread(block, 1, sizeof block, file_)) {
      text.append(block, length);
    }
    return text;
  }

 private:
  void restore() {
    if (earlier_ < 0) return;
    std::fflush(nullptr);
    dup2(earlier_, descriptor_);
    close(earlier_);
    earlier_ = -1;
  }

  int descriptor_;
  std::FILE *file_;
  int earlier_ = -1;
};

#endif
