#include "standard_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace orla_tool {
namespace {

constexpr std::size_t kBufferSize = 65536;

// Opened for the wrong direction, so that using it fails as it does on a closed descriptor.
void open_closed_descriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
    if (fcntl(descriptor, F_GETFD) == -1)
      open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

void prepare_standard_output() {
  open_closed_descriptors();
  std::signal(SIGXFSZ, SIG_IGN);
  static char buffer[kBufferSize];
  if (isatty(STDOUT_FILENO) == 0) std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
}

void print(std::string_view text) {
  if (fwrite_unlocked(text.data(), 1, text.size(), stdout) != text.size())
    throw OutputFailed{errno};
}

void flush_output() {
  if (std::fflush(stdout) != 0) throw OutputFailed{errno};
  if (std::ferror(stdout) != 0) throw OutputFailed{0};  // an earlier write, perhaps the library's
}

Captured::Captured(int descriptor) : descriptor_(descriptor) {
  std::fflush(nullptr);
  file_ = memfd_create("orla", MFD_CLOEXEC);
  if (file_ == -1) return;
  original_ = dup(descriptor);
  if (original_ != -1) dup2(file_, descriptor);
}

Captured::~Captured() {
  restore();
  if (file_ != -1) close(file_);
}

void Captured::restore() {
  if (original_ == -1) return;
  std::fflush(nullptr);
  dup2(original_, descriptor_);
  close(original_);
  original_ = -1;
}

std::string Captured::text() {
  restore();
  std::string text;
  char part[4096];
  ssize_t length;
  while ((length = pread(file_, part, sizeof part, static_cast<off_t>(text.size()))) > 0)
    text.append(part, static_cast<std::size_t>(length));
  return text;
}

}  // namespace orla_tool
