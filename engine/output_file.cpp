#include "output_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

int renameIn(int dir, const char* from, const char* to) { return renameat(dir, from, dir, to); }
int linkIn(int dir, const char* from, const char* to) { return linkat(dir, from, dir, to, 0); }
int renameNoReplace(int dir, const char* from, const char* to) {
  return renameat2(dir, from, dir, to, RENAME_NOREPLACE);
}

// The writers' tags: a writer of a target clears what any of them left.
constexpr const char* kTags[] = {"boxtool", "vorn-gc"};

// The temporaries alive in this process, removed by the handler of the
// signals that end it.  A slot is taken by storing its directory last and
// given back by storing -1; the handler reads nothing else.
struct LiveTemporary {
  std::atomic<int> dir{-1};
  char name[NAME_MAX + 1] = {};
};
constexpr int kSlots = 16;
LiveTemporary live[kSlots];
constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP};

extern "C" void removeLiveTemporaries(int sig) {
  for (LiveTemporary& t : live) {
    const int dir = t.dir.load();
    if (dir >= 0) unlinkat(dir, t.name, 0);
  }
  // Then end as the signal would have ended the process.
  signal(sig, SIG_DFL);
  raise(sig);
}

// Installs the handler once, for the signals this process does not ignore
// or handle itself.
void watchEndingSignals() {
  static const bool installed = [] {
    for (const int sig : kEndingSignals) {
      struct sigaction old {};
      if (sigaction(sig, nullptr, &old) != 0 || old.sa_handler != SIG_DFL) continue;
      struct sigaction act {};
      act.sa_handler = removeLiveTemporaries;
      sigemptyset(&act.sa_mask);
      for (const int other : kEndingSignals) sigaddset(&act.sa_mask, other);
      sigaction(sig, &act, nullptr);
    }
    return true;
  }();
  (void)installed;
}

int registerTemporary(int dir, const std::string& name) {
  watchEndingSignals();
  for (int i = 0; i < kSlots; ++i) {
    if (live[i].dir.load() != -1) continue;
    std::memcpy(live[i].name, name.c_str(), name.size() + 1);
    int expected = -1;
    if (live[i].dir.compare_exchange_strong(expected, dir)) return i;
  }
  return -1;
}

void unregisterTemporary(int slot) {
  if (slot >= 0) live[slot].dir.store(-1);
}

// The start of the temporaries' names for a target's name and a tag,
// the name shortened so that a whole temporary's name stays a file name.
std::string temporaryPrefix(const std::string& name, const char* tag) {
  const size_t fixed = 1 + 1 + std::strlen(tag) + 1 + 6;  // ".", ".TAG.", "XXXXXX"
  std::string prefix = ".";
  prefix.append(name, 0, std::min(name.size(), NAME_MAX - fixed));
  prefix += '.';
  prefix += tag;
  prefix += '.';
  return prefix;
}

// Removes the temporary name in dir when no process holds its lock: its
// writer is gone.  The lock is held while the name is removed, so that a
// writer that has just made the file and not yet locked it finds it
// removed (a link count of 0) once it gets the lock, and makes another.
void removeIfAbandoned(int dir, const char* name) {
  const int fd = openat(dir, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return;
  struct stat st, now;
  if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && flock(fd, LOCK_EX | LOCK_NB) == 0 &&
      fstatat(dir, name, &now, AT_SYMLINK_NOFOLLOW) == 0 && now.st_ino == st.st_ino &&
      now.st_dev == st.st_dev)
    unlinkat(dir, name, 0);
  close(fd);
}

void removeAbandonedTemporaries(int dir, const std::string& name) {
  const int listed = openat(dir, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (listed < 0) return;
  DIR* d = fdopendir(listed);
  if (!d) {
    close(listed);
    return;
  }
  // The backup of a box (NAME.bak, written by compact --backup) goes with
  // the box: what its writer left is cleared with the box's own.
  std::vector<std::string> prefixes;
  for (const std::string& target : {name, name + ".bak"}) {
    for (const char* tag : kTags) prefixes.push_back(temporaryPrefix(target, tag));
  }
  while (const dirent* e = readdir(d)) {
    for (const std::string& prefix : prefixes) {
      if (std::strncmp(e->d_name, prefix.c_str(), prefix.size()) == 0 &&
          std::strlen(e->d_name) == prefix.size() + 6)
        removeIfAbandoned(dir, e->d_name);
    }
  }
  closedir(d);
}

// Six letters or digits for a temporary's name.
std::string uniqueSuffix(unsigned attempt) {
  static const char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  struct timespec now {};
  clock_gettime(CLOCK_REALTIME, &now);
  uint64_t x = static_cast<uint64_t>(now.tv_nsec) ^ (static_cast<uint64_t>(now.tv_sec) << 30) ^
               (static_cast<uint64_t>(getpid()) << 20) ^ (uint64_t{attempt} * 0x9E3779B97F4A7C15u);
  std::string s(6, 'a');
  for (char& c : s) {
    x ^= x >> 33;
    x *= 0xFF51AFD7ED558CCDu;
    c = kLetters[x % (sizeof kLetters - 1)];
  }
  return s;
}

}  // namespace

FileCalls fileCalls = {::write, ::fsync, renameIn, linkIn, renameNoReplace};

bool writeAll(int fd, const void* bytes, size_t length, ssize_t (*write)(int, const void*, size_t)) {
  const auto* p = static_cast<const uint8_t*>(bytes);
  while (length > 0) {
    const ssize_t n = write(fd, p, std::min(length, kWriteChunk));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      if (n == 0) errno = EIO;
      return false;
    }
    p += n;
    length -= static_cast<size_t>(n);
  }
  return true;
}

std::string directoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool sameFile(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  return stat(a.c_str(), &sa) == 0 && stat(b.c_str(), &sb) == 0 && sa.st_dev == sb.st_dev &&
         sa.st_ino == sb.st_ino;
}

bool pathExists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

bool isReadOnlyFile(const std::string& path) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
  return (st.st_mode & 0222) == 0 || faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0;
}

OutputFile::OutputFile(std::string target, const char* tag) {
  struct stat st;
  const bool exists = stat(target.c_str(), &st) == 0;
  if (!exists && errno != ENOENT) {
    fail(Step::kCreate, errno);
    return;
  }
  if (!exists && pathExists(target)) {
    fail(Step::kCreate, "is a symbolic link that leads to no file");
    return;
  }
  if (exists && S_ISSOCK(st.st_mode)) {
    fail(Step::kCreate, "is a socket, which is never written");
    return;
  }
  if (exists && S_ISDIR(st.st_mode)) {
    fail(Step::kCreate, EISDIR);
    return;
  }
  if (exists && !S_ISREG(st.st_mode)) {
    // A device or a FIFO: written as it is.
    fd_ = open(target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) fail(Step::kCreate, errno);
    through_ = true;
    return;
  }
  if (exists) {
    // The file a symbolic link leads to is replaced, not the link.
    char resolved[PATH_MAX];
    if (realpath(target.c_str(), resolved)) target = resolved;
  }
  name_ = baseOf(target);
  dir_ = open(directoryOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir_ < 0) {
    fail(Step::kCreate, errno);
    return;
  }
  removeAbandonedTemporaries(dir_, name_);
  const std::string prefix = temporaryPrefix(name_, tag);
  for (unsigned attempt = 0; fd_ < 0 && attempt < 100; ++attempt) {
    std::string temp = prefix + uniqueSuffix(attempt);
    const int fd = openat(dir_, temp.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST) continue;
    if (fd < 0) {
      fail(Step::kCreate, errno);
      return;
    }
    // Another writer's clean-up that locked the new file first removes it:
    // then another name.
    struct stat own;
    if (flock(fd, LOCK_EX | LOCK_NB) != 0 || fstat(fd, &own) != 0 || own.st_nlink == 0) {
      close(fd);
      continue;
    }
    fd_ = fd;
    temp_ = std::move(temp);
  }
  if (fd_ < 0) {
    fail(Step::kCreate, EEXIST);
    return;
  }
  slot_ = registerTemporary(dir_, temp_);
  if (exists) {
    // Best effort: a file of another owner is this process's own from now.
    fchmod(fd_, st.st_mode & 07777);
    if (fchown(fd_, st.st_uid, st.st_gid) != 0) fchmod(fd_, st.st_mode & 0777);
  }
}

OutputFile::~OutputFile() {
  if (stream_) {
    std::fclose(stream_);
  } else if (fd_ >= 0) {
    close(fd_);
  }
  if (!temp_.empty()) unlinkat(dir_, temp_.c_str(), 0);
  unregisterTemporary(slot_);
  if (dir_ >= 0) close(dir_);
}

bool OutputFile::fail(Step step, int error) { return fail(step, std::strerror(error ? error : EIO)); }

bool OutputFile::fail(Step step, const char* why) {
  failed = step;
  error = why;
  return false;
}

bool OutputFile::keepModeAndOwner(const struct stat& st) {
  if (fd_ < 0) return false;
  if (through_) return true;
  if (fchmod(fd_, st.st_mode & 07777) != 0) return fail(Step::kCreate, errno);
  // Another owner may be given only by a privileged process; the file is
  // this process's own anyway when the target was.
  if (fchown(fd_, st.st_uid, st.st_gid) != 0 && !(errno == EPERM && st.st_uid == geteuid()))
    return fail(Step::kCreate, errno);
  return true;
}

void OutputFile::replaceOnlyIfUnchanged(const struct stat& st) {
  checkUnchanged_ = true;
  expected_ = st;
}

bool OutputFile::write(const void* bytes, size_t length) {
  if (fd_ < 0) return false;
  return writeAll(fd_, bytes, length, fileCalls.write) || fail(Step::kWrite, errno);
}

FILE* OutputFile::stream() {
  if (!stream_ && fd_ >= 0) stream_ = fdopen(fd_, "wb");
  return stream_;
}

bool OutputFile::closeFile() {
  errno = 0;
  if (stream_ && (std::fflush(stream_) != 0 || std::ferror(stream_))) return fail(Step::kWrite, errno);
  // A device or a FIFO keeps what it was given; only a file is flushed.
  if (!through_ && fileCalls.fsync(fd_) != 0) return fail(Step::kWrite, errno);
  const int closed = stream_ ? std::fclose(stream_) : close(fd_);
  stream_ = nullptr;
  fd_ = -1;
  return closed == 0 || fail(Step::kWrite, errno);
}

bool OutputFile::unchanged() {
  struct stat now;
  if (fstatat(dir_, name_.c_str(), &now, 0) != 0) return fail(Step::kChanged, errno);
  const bool same = now.st_dev == expected_.st_dev && now.st_ino == expected_.st_ino &&
                    now.st_size == expected_.st_size && now.st_mtim.tv_sec == expected_.st_mtim.tv_sec &&
                    now.st_mtim.tv_nsec == expected_.st_mtim.tv_nsec;
  return same || fail(Step::kChanged, "the file changed while it was being rewritten");
}

bool OutputFile::commit(bool replace) {
  if (fd_ < 0) return false;
  if (!closeFile()) return false;
  if (through_) return true;
  if (checkUnchanged_ && !unchanged()) return false;
  if (!moveIntoPlace(replace)) return false;
  temp_.clear();
  unregisterTemporary(slot_);
  slot_ = -1;
  // Make the move itself durable.
  fileCalls.fsync(dir_);
  return true;
}

bool OutputFile::moveIntoPlace(bool replace) {
  const char* temp = temp_.c_str();
  const char* target = name_.c_str();
  if (replace) return fileCalls.rename(dir_, temp, target) == 0 || fail(Step::kReplace, errno);
  // link() fails when the name exists: the test and the move are one step.
  if (fileCalls.link(dir_, temp, target) == 0) {
    unlinkat(dir_, temp, 0);
    return true;
  }
  int why = errno;
  // A file system without hard links (FAT, exFAT) says EPERM; there a
  // rename that never replaces is one step too, and where the system lacks
  // that as well, the test and the move are two.
  if (why == EPERM || why == EOPNOTSUPP) {
    if (fileCalls.renameNoReplace(dir_, temp, target) == 0) return true;
    why = errno;
    if (why == EINVAL || why == ENOSYS || why == EOPNOTSUPP) {
      struct stat st;
      if (fstatat(dir_, target, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return fileCalls.rename(dir_, temp, target) == 0 || fail(Step::kReplace, errno);
      why = EEXIST;
    }
  }
  if (why != EEXIST) return fail(Step::kReplace, why);
  return fail(Step::kReplace, "the file exists");
}
