#include "output_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

int renameNoReplace(const char* from, const char* to) {
  return renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
}

// Temporaries of an earlier writer of the same target that did not finish:
// they hold nothing the target still needs.
void removeStaleTemporaries(const std::string& dir, const std::string& prefix) {
  DIR* d = opendir(dir.c_str());
  if (!d) return;
  while (const dirent* e = readdir(d)) {
    if (std::strncmp(e->d_name, prefix.c_str(), prefix.size()) == 0) unlinkat(dirfd(d), e->d_name, 0);
  }
  closedir(d);
}

}  // namespace

FileCalls fileCalls = {::write, ::fsync, ::rename, ::link, renameNoReplace};

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

OutputFile::OutputFile(std::string target, const char* tag, bool removeStale) : target_(std::move(target)) {
  const std::string dir = directoryOf(target_);
  // Built by appending: GCC 12 at -O3 warns falsely on "." + string.
  std::string prefix = ".";
  prefix += baseOf(target_);
  prefix += '.';
  prefix += tag;
  prefix += '.';
  if (removeStale) removeStaleTemporaries(dir, prefix);
  std::string temp = dir + "/" + prefix + "XXXXXX";
  const int fd = mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) {
    fail(Step::kCreate, errno);
    return;
  }
  fd_ = fd;
  temp_ = std::move(temp);
  // The permissions a newly created file gets.
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(fd_, 0666 & ~mask);
}

OutputFile::~OutputFile() {
  if (stream_) {
    std::fclose(stream_);
  } else if (fd_ >= 0) {
    close(fd_);
  }
  if (!temp_.empty()) unlink(temp_.c_str());
}

bool OutputFile::fail(Step step, int error) {
  failed = step;
  this->error = std::strerror(error ? error : EIO);
  return false;
}

bool OutputFile::keepModeAndOwner(const struct stat& st) {
  if (fd_ < 0) return false;
  if (fchmod(fd_, st.st_mode & 07777) != 0) return fail(Step::kCreate, errno);
  // Another owner may be given only by a privileged process; the file is
  // this process's own anyway when the target was.
  if (fchown(fd_, st.st_uid, st.st_gid) != 0 && !(errno == EPERM && st.st_uid == geteuid()))
    return fail(Step::kCreate, errno);
  return true;
}

bool OutputFile::write(const void* bytes, size_t length) {
  if (fd_ < 0) return false;
  return writeAll(fd_, bytes, length, fileCalls.write) || fail(Step::kWrite, errno);
}

FILE* OutputFile::stream() {
  if (!stream_ && fd_ >= 0) stream_ = fdopen(fd_, "wb");
  return stream_;
}

bool OutputFile::commit(bool replace) {
  if (fd_ < 0) return false;
  errno = 0;
  if (stream_ && (std::fflush(stream_) != 0 || std::ferror(stream_))) return fail(Step::kWrite, errno);
  if (fileCalls.fsync(fd_) != 0) return fail(Step::kWrite, errno);
  const int closed = stream_ ? std::fclose(stream_) : close(fd_);
  stream_ = nullptr;
  fd_ = -1;
  if (closed != 0) return fail(Step::kWrite, errno);
  if (!moveIntoPlace(replace)) return false;
  temp_.clear();
  // Make the move itself durable.
  const int dir = open(directoryOf(target_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    fileCalls.fsync(dir);
    close(dir);
  }
  return true;
}

bool OutputFile::moveIntoPlace(bool replace) {
  const char* temp = temp_.c_str();
  const char* target = target_.c_str();
  if (replace) return fileCalls.rename(temp, target) == 0 || fail(Step::kReplace, errno);
  // link() fails when the name exists: the test and the move are one step.
  if (fileCalls.link(temp, target) == 0) {
    unlink(temp);
    return true;
  }
  int why = errno;
  // A file system without hard links (FAT, exFAT) says EPERM; there a
  // rename that never replaces is one step too, and where the system lacks
  // that as well, the test and the move are two.
  if (why == EPERM || why == EOPNOTSUPP) {
    if (fileCalls.renameNoReplace(temp, target) == 0) return true;
    why = errno;
    if (why == EINVAL || why == ENOSYS || why == EOPNOTSUPP) {
      if (!pathExists(target_)) return fileCalls.rename(temp, target) == 0 || fail(Step::kReplace, errno);
      why = EEXIST;
    }
  }
  if (why != EEXIST) return fail(Step::kReplace, why);
  failed = Step::kReplace;
  error = "the file exists";
  return false;
}
