#include "standard_output.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>

namespace orla_tool {
namespace {

void flush_all() {
  std::cout.flush();
  std::fflush(nullptr);
}

}  // namespace

Captured::Captured(int descriptor) : descriptor_(descriptor) {
  flush_all();
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
  flush_all();
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
