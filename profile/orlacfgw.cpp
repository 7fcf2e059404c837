// Profile files: the writer.
//
//     target --(lines, with the entry in its place)--> /tmp/K7...... --(copy_file)--> target
//
// The target is rewritten in place, so it keeps its inode, owner and permissions. It is opened for
// writing only when the temporary copy is complete and there is room for it, and it is never
// emptied: the new text overwrites the old one in as few writes as possible, and what is left of
// the old one is cut off.

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
#include <tuple>

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
// A file smaller than this is copied with one write.
constexpr std::uint64_t kLargestWrite = 1048576;
// The unit of a file's block count on every file system.
constexpr std::uint64_t kBytesPerBlock = 512;

constexpr int kForWriting = O_WRONLY | O_CREAT | O_LARGEFILE | O_CLOEXEC;
constexpr mode_t kOrdinaryMode = 0666;  // the process's mask is applied to it

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
  return S_ISREG(one.stx_mode) &&
         std::tie(one.stx_ino, one.stx_dev_major, one.stx_dev_minor) ==
             std::tie(other.stx_ino, other.stx_dev_major, other.stx_dev_minor);
}

// Reads until the block is full or the file ends. Quirk: a failed read counts as the end of the
// file.
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

// Writes the content of `from` over a file of `earlier_size` bytes, and returns how many bytes were
// written. Quirk: a failed write is not noticed, and the text after it takes its place.
std::uint64_t copy_content(int from, int to, Block &block, std::uint64_t earlier_size) {
  std::uint64_t copied = 0;
  for (;;) {
    const std::size_t size = read_block(from, block);
    const bool is_last = size < block.size();
    // Until the rest of a longer file is cut off, a byte 0xFF hides it from the readers of
    // profiles, also when the process is killed in between.
    const bool hides_rest = is_last && copied + size < earlier_size;
    if (hides_rest) block.begin()[size] = '\xFF';
    const std::size_t taken = orla::write_all(to, {block.begin(), size + (hides_rest ? 1 : 0)});
    copied += std::min(taken, size);
    if (is_last) return copied;
  }
}

// Gives a file the content of another one, without emptying it first.
void copy_over(int from, int to) {
  const auto source = status_of(from);
  const auto earlier = status_of(to);
  if (source && earlier && is_same_file(*source, *earlier)) {
    cut(to, 0);  // Quirk: a file copied onto itself ends empty.
    return;
  }
  Block block;
  // One byte more than the file has, so that one read also finds its end. Without memory it is
  // copied in small pieces.
  if (source && source->stx_size >= block.size())
    static_cast<void>(block.grow(
        static_cast<std::size_t>(std::min<std::uint64_t>(source->stx_size + 1, kLargestWrite))));
  const std::uint64_t copied = copy_content(from, to, block, earlier ? earlier->stx_size : 0);
  const auto now = status_of(to);
  if (!now || now->stx_size > copied) cut(to, copied);
}

// ---- Room on the target -------------------------------------------------------------------------

// How many bytes can certainly be written over an open file without needing more room: no more than
// it holds now. The block count alone does not tell, as it includes the file system's own data.
// Anything but a regular file has room for any size.
std::uint64_t room_of(int descriptor) {
  const auto status = status_of(descriptor);
  if (!status) return 0;
  if (!S_ISREG(status->stx_mode)) return std::numeric_limits<std::uint64_t>::max();
  return std::min<std::uint64_t>(status->stx_size, status->stx_blocks * kBytesPerBlock);
}

// Releases the room that was reserved after the end of the file.
void give_back(int descriptor) {
  const KeptErrno kept;
  if (const auto status = status_of(descriptor)) cut(descriptor, status->stx_size);
}

// Opens a file for writing; does not create it.
int open_existing(const char *path) { return open(path, O_WRONLY | O_LARGEFILE | O_CLOEXEC); }

// Reserves room for `size` bytes without changing the file's content. True also where the file
// system cannot reserve. The room stays reserved when the file is closed.
bool reserve(const char *path, std::uint64_t size) {
  const Descriptor file(open_existing(path));
  if (!file.is_open()) return false;
  while (fallocate64(file.number(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off64_t>(size)) != 0) {
    if (errno == EINTR) continue;
    if (errno == EOPNOTSUPP || errno == ENOSYS) return true;
    // Some file systems keep the part that they could reserve.
    give_back(file.number());
    return false;
  }
  return true;
}

// ---- One rewrite --------------------------------------------------------------------------------

// Whether a target that did not open for reading is replaced by a new file. Quirk: when it is
// missing or may not be read. Any other error, such as no free descriptor, may be temporary, and
// the file still exists.
bool is_replaced_after(int error) { return error == ENOENT || error == EACCES || error == EPERM; }

// Creates or empties the target and writes only the header and the entry.
bool write_new_file(const char *target, const Entry &entry) {
  Descriptor file(open(target, kForWriting | O_TRUNC, kOrdinaryMode));
  if (!file.is_open()) return false;
  TextSink sink(file.number());
  orla::put_section(sink, entry);
  const bool whole = sink.flush();
  return file.close() && whole;
}

// The outcome of writing the temporary copy.
struct Copy {
  bool whole;                 // everything was read and written
  std::uint64_t size;         // bytes
  std::uint64_t target_room;  // bytes that fit into the target as it is
};

// Writes the temporary copy, and closes both files.
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
// meanwhile: if the limit of descriptors were reached after the target has been opened, it would be
// left empty.
bool copy_back(const Copy &copy, const char *temporary_path, const char *target_path) {
  const bool grows = copy.size > copy.target_room;
  if (grows && !reserve(target_path, copy.size)) return false;
  if (copy_file(temporary_path, target_path) == 0) return true;
  const KeptErrno kept;
  const Descriptor target(grows ? open_existing(target_path) : -1);
  if (target.is_open()) give_back(target.number());
  return false;
}

// Empties the temporary file and removes it. Otherwise the descriptor that create_temporary_name()
// leaves open would keep its room in use and show the profile to processes that inherit it.
void remove_temporary(const char *path) {
  const KeptErrno kept;
  [[maybe_unused]] const int status = truncate(path, 0);
  unlink(path);
}

// Rewrites the target through a temporary file that is open for writing.
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

// True on success; on failure `errno` says why.
bool write_entry(const char *path, const Entry &entry) {
  const char *target = orla::resolved_path(path);
  char temporary_path[kTemporaryPathSize];
  if (create_temporary_name(temporary_path) != 0) return false;
  Descriptor temporary(open_for_writing(temporary_path));
  // Quirk: the empty file is left in /tmp.
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
  // Quirk: the descriptor is neither closed nor returned.
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
