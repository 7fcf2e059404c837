// Profile files: the writer.
//
//     target --(lines, with the entry in its place)--> /tmp/K7...... --(copy_file)--> target
//
// The target is rewritten in place, so it keeps its inode, owner and permissions. It is not opened for
// writing before the temporary copy is whole and the room for it is there.

#include <fcntl.h>
#include <orla/profile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/descriptor.h"
#include "profile/line_source.h"
#include "profile/profile_file.h"
#include "profile/rewrite.h"
#include "profile/text_sink.h"

namespace {

using orla::Descriptor;
using orla::Entry;
using orla::TextSink;

constexpr std::size_t kTemporaryPathSize = 256;
constexpr std::size_t kCopyBlock = 16384;
// Of the block count of a file, whatever its file system.
constexpr std::uint64_t kBytesPerBlock = 512;

constexpr int kForWriting = O_WRONLY | O_CREAT | O_LARGEFILE | O_CLOEXEC;
constexpr mode_t kOrdinaryMode = 0666;  // less the process's mask

// Opens a file that is created or emptied.
int open_emptied(const char *path) { return open(path, kForWriting | O_TRUNC, kOrdinaryMode); }

// Opens the temporary file, which is empty. To empty it again would make some file systems send the copy
// to the disk when it is closed, as if it replaced something, and halve the speed.
int open_temporary(const char *path) { return open(path, kForWriting, kOrdinaryMode); }

// Whether an open failed for a reason that has nothing to do with the file. A process that
// rewrites often gets there, as every rewrite leaves a descriptor open; the file is then neither missing
// nor unreadable, and must not be replaced.
bool is_passing(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EINTR;
}

// Makes the target anew, with the header and the entry alone.
bool write_new_file(const char *target, const Entry &entry) {
  Descriptor file(open_emptied(target));
  if (!file.is_open()) return false;
  TextSink sink(file.number());
  orla::put_header(sink, entry);
  orla::put_entry(sink, entry);
  const bool whole = sink.flush();
  return file.close() && whole;
}

// Bytes that an open file may be rewritten with and surely have room: no more than it holds now. The
// block count alone would not do, as it takes in what the file system keeps beside the data. The size of
// anything but a regular file has no bounds.
std::uint64_t room_of(int descriptor) {
  struct statx status;
  constexpr unsigned kWanted = STATX_TYPE | STATX_SIZE | STATX_BLOCKS;
  if (statx(descriptor, "", AT_EMPTY_PATH, kWanted, &status) != 0) return 0;
  if (!S_ISREG(status.stx_mode)) return std::numeric_limits<std::uint64_t>::max();
  return std::min<std::uint64_t>(status.stx_size, status.stx_blocks * kBytesPerBlock);
}

// Reserves room for `size` bytes without a change to what the file holds. True also where the file
// system cannot reserve.
bool reserve(int descriptor, std::uint64_t size) {
  int status;
  do {
    status = fallocate64(descriptor, FALLOC_FL_KEEP_SIZE, 0, static_cast<off64_t>(size));
  } while (status != 0 && errno == EINTR);
  return status == 0 || errno == EOPNOTSUPP || errno == ENOSYS;
}

// Gives back what was reserved behind the end of the file. A reservation that failed needs it too: some
// file systems keep what they got.
void give_back(int descriptor) {
  struct statx status;
  if (statx(descriptor, "", AT_EMPTY_PATH, STATX_SIZE, &status) != 0) return;
  while (ftruncate64(descriptor, static_cast<off64_t>(status.stx_size)) != 0 && errno == EINTR) {
  }
}

// What the temporary copy came to.
struct Copy {
  bool whole;                 // everything was read and written
  std::uint64_t size;         // bytes
  std::uint64_t target_room;  // bytes that the target may take without asking for more
};

Copy write_copy(Descriptor &target, Descriptor &temporary, const Entry &entry) {
  orla::LineSource source(target.number());
  TextSink sink(temporary.number());
  orla::rewrite(source, sink, entry);
  const bool written = sink.flush();
  const std::uint64_t room = room_of(target.number());
  static_cast<void>(target.close());
  const bool closed = temporary.close();
  return {written && closed && !source.failed(), sink.size(), room};
}

// Copies the temporary file over the target, if there is room for it.
bool copy_back(const Copy &copy, const char *temporary_path, const char *target_path) {
  if (copy.size <= copy.target_room) return copy_file(temporary_path, target_path) == 0;
  const Descriptor target(open(target_path, O_WRONLY | O_LARGEFILE | O_CLOEXEC));
  if (!target.is_open()) return false;
  const bool copied =
      reserve(target.number(), copy.size) && copy_file(temporary_path, target_path) == 0;
  if (!copied) give_back(target.number());
  return copied;
}

// Brings the target up to date through a temporary file that is open for writing.
bool rewrite_through(Descriptor &temporary, const char *temporary_path, const char *target_path,
                     const Entry &entry) {
  Descriptor target(orla::open_for_reading(target_path));
  if (!target.is_open()) {
    const bool passing = is_passing(errno);
    static_cast<void>(temporary.close());
    unlink(temporary_path);
    return !passing && write_new_file(target_path, entry);
  }
  const Copy copy = write_copy(target, temporary, entry);
  const bool copied = copy.whole && copy_back(copy, temporary_path, target_path);
  unlink(temporary_path);
  return copied;
}

}  // namespace

int orla_cfg_write_private_profile_string(const char *section, const char *key, const char *value,
                                          const char *path) noexcept {
  const char *target = orla::path_in_force(path);
  char temporary_path[kTemporaryPathSize];
  if (create_temporary_name(temporary_path) != 0) return 0;
  Descriptor temporary(open_temporary(temporary_path));
  // The empty file stays behind: kept.
  if (!temporary.is_open()) return 0;
  return rewrite_through(temporary, temporary_path, target, {section, key, value}) ? 1 : 0;
}

int create_temporary_name(char *name) noexcept {
  std::strcpy(name, "/tmp/K7XXXXXX");
  // The descriptor is neither closed nor told to anybody: kept.
  return mkstemp(name) < 0 ? 1 : 0;
}

int copy_file(const char *source, const char *destination) noexcept {
  const Descriptor to(open_emptied(destination));
  if (!to.is_open()) return 1;
  const Descriptor from(orla::open_for_reading(source));
  if (!from.is_open()) return 1;
  char block[kCopyBlock];
  for (;;) {
    const ssize_t size = read(from.number(), block, sizeof block);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return 0;
    // A write that fails goes unnoticed: kept.
    static_cast<void>(orla::write_all(to.number(), {block, static_cast<std::size_t>(size)}));
  }
}
