#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

std::string directoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  std::string temp = directoryOf(path_);
  temp += "/.";
  temp += baseOf(path_);
  temp += ".boxtool.XXXXXX";
  const int fd = mkostemp(temp.data(), O_CLOEXEC);
  if (fd < 0) {
    error = std::strerror(errno);
    return;
  }
  // The permissions a newly created file gets.
  const mode_t mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);
  stream_ = fdopen(fd, "wb");
  if (!stream_) {
    error = std::strerror(errno);
    close(fd);
    unlink(temp.c_str());
    return;
  }
  temp_ = temp;
}

OutputFile::~OutputFile() {
  if (stream_) std::fclose(stream_);
  if (!temp_.empty()) unlink(temp_.c_str());
}

bool OutputFile::commit(bool replace) {
  if (!stream_) return false;
  const bool written = std::fflush(stream_) == 0 && !std::ferror(stream_) && fsync(fileno(stream_)) == 0;
  const int saved = errno;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (!written || !closed) {
    error = std::strerror(written ? errno : saved);
    return false;
  }
  if (replace) {
    if (rename(temp_.c_str(), path_.c_str()) != 0) {
      error = std::strerror(errno);
      return false;
    }
  } else {
    // link() fails when the name exists: the check and the move are one step.
    // On a file system without hard links (FAT) the test and the move are
    // two steps.
    if (link(temp_.c_str(), path_.c_str()) == 0) {
      unlink(temp_.c_str());
    } else if (errno == EEXIST || ((errno == EPERM || errno == EOPNOTSUPP) && pathExists(path_))) {
      error = "the file exists";
      return false;
    } else if ((errno != EPERM && errno != EOPNOTSUPP) || rename(temp_.c_str(), path_.c_str()) != 0) {
      error = std::strerror(errno);
      return false;
    }
  }
  temp_.clear();
  const int dir = open(directoryOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (dir >= 0) {
    fsync(dir);
    close(dir);
  }
  return true;
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
