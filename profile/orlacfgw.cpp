// Profile files: the writer.
//
//     target --(lines, with the entry in its place)--> /tmp/K7...... --(copy_file)--> target
//
// The target is rewritten in place, so it keeps its inode, owner and permissions. It is not opened
// for writing before the temporary copy is whole and the room for it is there, and it is never
// emptied: the new text goes over the old one in as few writes as can be, and what is left of the
// old one is cut off.

#include <fcntl.h>
#include <orla/profile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "base/descriptor.h"
#include "base/kept_errno.h"
#include "profile/block.h"
#include "profile/line_source.h"
#include "profile/profile_file.h"
#include "profile/rewrite.h"
#include "profile/text_sink.h"

namespace {

using orla::Block;
using orla::Descriptor;
using orla::Entry;
using orla::KeptErrno;
using orla::TextSink;

constexpr std::size_t kTemporaryPathSize = 256;
// A file up to this size is copied by one write.
constexpr std::uint64_t kLargestWrite = 1048576;
// Of the block count of a file, whatever its file system.
constexpr std::uint64_t kBytesPerBlock = 512;

constexpr int kForWriting = O_WRONLY | O_CREAT | O_LARGEFILE | O_CLOEXEC;
constexpr mode_t kOrdinaryMode = 0666;  // less the process's mask

// Opens a file as it is, or creates it.
int open_for_writing(const char *path) { return open(path, kForWriting, kOrdinaryMode); }

std::optional<struct statx> status_of(int descriptor) {
  struct statx status;
  constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_BLOCKS;
  if (statx(descriptor, "", AT_EMPTY_PATH, kWanted, &status) != 0) return {};
  return status;
}

void cut(int descriptor, std::uint64_t size) {
  while (ftruncate64(descriptor, static_cast<off64_t>(size)) != 0 && errno == EINTR) {
  }
}

// ---- Copying ------------------------------------------------------------------------------------

bool is_same_file(const struct statx &one, const struct statx &other) {
  return S_ISREG(one.stx_mode) && one.stx_ino == other.stx_ino &&
         one.stx_dev_major == other.stx_dev_major && one.stx_dev_minor == other.stx_dev_minor;
}

// Reads until the memory is full or the file ends. Quirk: a read that fails ends it like its real
// end.
std::size_t read_block(int from, Block &block) {
  std::size_t size = 0;
  while (size < block.size()) {
    const ssize_t got = read(from, block.begin() + size, block.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    size += static_cast<std::size_t>(got);
  }
  return size;
}

// Writes what `from` holds over a file of `earlier_size` bytes, and returns how many bytes that
// file took. Quirk: a write that fails goes unnoticed, and what follows takes its place.
std::uint64_t copy_content(int from, int to, Block &block, std::uint64_t earlier_size) {
  std::uint64_t copied = 0;
  for (;;) {
    const std::size_t size = read_block(from, block);
    const bool is_last = size < block.size();
    // Until the rest of a longer file is cut off, a byte 0xFF hides it from the readers of
    // profiles; a process that is killed in between leaves it so.
    const bool hides_rest = is_last && copied + size < earlier_size;
    if (hides_rest) block.begin()[size] = '\xFF';
    const std::size_t taken = orla::write_all(to, {block.begin(), size + (hides_rest ? 1 : 0)});
    copied += std::min(taken, size);
    if (is_last) return copied;
  }
}

// Brings a file to the content of another one, without emptying it first.
void copy_over(int from, int to) {
  const auto source = status_of(from);
  const auto earlier = status_of(to);
  if (source && earlier && is_same_file(*source, *earlier)) {
    cut(to, 0);  // Quirk: a file copied onto itself ends empty.
    return;
  }
  Block block;
  // One byte more than the file has, to meet its end. Without memory it goes in small pieces.
  if (source && source->stx_size >= block.size())
    static_cast<void>(block.grow(
        static_cast<std::size_t>(std::min<std::uint64_t>(source->stx_size + 1, kLargestWrite))));
  const std::uint64_t copied = copy_content(from, to, block, earlier ? earlier->stx_size : 0);
  const auto now = status_of(to);
  if (!now || now->stx_size > copied) cut(to, copied);
}

// ---- Room on the target -------------------------------------------------------------------------

// Bytes that an open file may be rewritten with and surely have room: no more than it holds now.
// The block count alone would not do, as it includes what the file system keeps beside the data.
// The size of anything but a regular file has no bounds.
std::uint64_t room_of(int descriptor) {
  const auto status = status_of(descriptor);
  if (!status) return 0;
  if (!S_ISREG(status->stx_mode)) return std::numeric_limits<std::uint64_t>::max();
  return std::min<std::uint64_t>(status->stx_size, status->stx_blocks * kBytesPerBlock);
}

// Gives back what was reserved after the end of the file.
void give_back(int descriptor) {
  const KeptErrno kept;
  if (const auto status = status_of(descriptor)) cut(descriptor, status->stx_size);
}

// Opens a file that is there.
int open_existing(const char *path) { return open(path, O_WRONLY | O_LARGEFILE | O_CLOEXEC); }

// Reserves room for `size` bytes without a change to what the file holds. True also where the file
// system cannot reserve. The room stays reserved when the file is closed.
bool reserve(const char *path, std::uint64_t size) {
  const Descriptor file(open_existing(path));
  if (!file.is_open()) return false;
  int status;
  do {
    status = fallocate64(file.number(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off64_t>(size));
  } while (status != 0 && errno == EINTR);
  if (status == 0 || errno == EOPNOTSUPP || errno == ENOSYS) return true;
  // Some file systems keep what they got of it.
  give_back(file.number());
  return false;
}

// ---- One rewrite --------------------------------------------------------------------------------

// Whether a target that did not open for reading is replaced by a new file: it is missing or may
// not be read. Any other error, such as the want of a descriptor, may pass, and the file is still
// there.
bool is_replaced_after(int error) { return error == ENOENT || error == EACCES || error == EPERM; }

// Makes the target anew, with the header and the entry alone.
bool write_new_file(const char *target, const Entry &entry) {
  Descriptor file(open(target, kForWriting | O_TRUNC, kOrdinaryMode));
  if (!file.is_open()) return false;
  TextSink sink(file.number());
  orla::put_section(sink, entry);
  const bool whole = sink.flush();
  return file.close() && whole;
}

// What the temporary copy came to.
struct Copy {
  bool whole;                 // everything was read and written
  std::uint64_t size;         // bytes
  std::uint64_t target_room;  // bytes that the target may take without asking for more
};

// Closes both files.
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

// Copies the temporary file over the target, if there is room for it. No other file is open
// meanwhile: to meet the limit of descriptors after the target has been opened would leave it
// empty.
bool copy_back(const Copy &copy, const char *temporary_path, const char *target_path) {
  const bool grows = copy.size > copy.target_room;
  if (grows && !reserve(target_path, copy.size)) return false;
  if (copy_file(temporary_path, target_path) == 0) return true;
  const KeptErrno kept;
  const Descriptor target(grows ? open_existing(target_path) : -1);
  if (target.is_open()) give_back(target.number());
  return false;
}

// Removes the temporary file, emptied: the descriptor that create_temporary_name() leaves open
// would hold its room, and show the profile to whoever inherits it.
void remove_temporary(const char *path) {
  const KeptErrno kept;
  [[maybe_unused]] const int status = truncate(path, 0);
  unlink(path);
}

// Brings the target up to date through a temporary file that is open for writing.
bool rewrite_through(Descriptor &temporary, const char *temporary_path, const char *target_path,
                     const Entry &entry) {
  Descriptor target(orla::open_for_reading(target_path));
  if (!target.is_open()) {
    const int error = errno;
    static_cast<void>(temporary.close());
    remove_temporary(temporary_path);
    errno = error;
    return is_replaced_after(error) && write_new_file(target_path, entry);
  }
  const Copy copy = write_copy(target, temporary, entry);
  const bool copied = copy.whole && copy_back(copy, temporary_path, target_path);
  remove_temporary(temporary_path);
  return copied;
}

// True on success; on a failure `errno` tells why.
bool write_entry(const char *path, const Entry &entry) {
  const char *target = orla::resolved_path(path);
  char temporary_path[kTemporaryPathSize];
  if (create_temporary_name(temporary_path) != 0) return false;
  Descriptor temporary(open_for_writing(temporary_path));
  // Quirk: the empty file stays behind.
  if (!temporary.is_open()) return false;
  return rewrite_through(temporary, temporary_path, target, entry);
}

}  // namespace

int orla_cfg_write_private_profile_string(const char *section, const char *key, const char *value,
                                          const char *path) noexcept {
  const int error = errno;
  if (!write_entry(path, {section, key, value})) return 0;
  errno = error;
  return 1;
}

int create_temporary_name(char *name) noexcept {
  std::strcpy(name, "/tmp/K7XXXXXX");
  // Quirk: the descriptor is neither closed nor told to anybody.
  return mkstemp(name) < 0 ? 1 : 0;
}

int copy_file(const char *source, const char *destination) noexcept {
  const int error = errno;
  const Descriptor to(open_for_writing(destination));
  if (!to.is_open()) return 1;
  const Descriptor from(orla::open_for_reading(source));
  if (!from.is_open()) {
    const KeptErrno kept;
    cut(to.number(), 0);
    return 1;
  }
  copy_over(from.number(), to.number());
  errno = error;
  return 0;
}
