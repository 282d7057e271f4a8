// The one way this system writes a file that must never be seen half
// written: the bytes go to a temporary file beside the target, are flushed
// to the disk, and the temporary takes the target's name in one step (a
// link where the target must not be replaced, a rename where it may), after
// which the directory is flushed too.  The target keeps what it held, or
// holds the whole new file.  The box library's collector and every writer
// of boxtool use it.
//
//   OutputFile out("NEW.BOX");
//   if (!out.opened()) complain(out.error);
//   out.write(bytes.data(), bytes.size());          // or std::fwrite(..., out.stream())
//   if (!out.commit(false)) complain(out.error);   // false: never replace
//
// Every failure keeps the system's reason in words (strerror) in error, and
// the step that failed in failed.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <string>

// The file operations the writer makes, replaceable so that tests can make
// any one of them fail (a full disk, an I/O error, a file system without
// hard links).
struct FileCalls {
  ssize_t (*write)(int fd, const void* buffer, size_t count);
  int (*fsync)(int fd);
  int (*rename)(const char* from, const char* to);
  int (*link)(const char* from, const char* to);
  // rename that fails with EEXIST rather than replace (renameat2's
  // RENAME_NOREPLACE); EINVAL where the file system cannot.
  int (*renameNoReplace)(const char* from, const char* to);
};

// The real operations by default.
extern FileCalls fileCalls;

// OutputFile::write() hands the bytes to the system in pieces of this size.
inline constexpr size_t kWriteChunk = size_t{16} * 1024;

// Writes all length bytes to fd with write, in pieces of at most
// kWriteChunk, again after an interrupted call.  False, with errno set,
// when a write fails or writes nothing.
bool writeAll(int fd, const void* bytes, size_t length, ssize_t (*write)(int, const void*, size_t));

// The directory part of a path ("." for a bare name) and its last part.
std::string directoryOf(const std::string& path);
std::string baseOf(const std::string& path);

// True when both paths exist and name the same file.
bool sameFile(const std::string& a, const std::string& b);

// True when something exists at path (a dangling symbolic link included).
bool pathExists(const std::string& path);

class OutputFile {
 public:
  // The step that failed.
  enum class Step { kNone, kCreate, kWrite, kReplace };

  // The temporary is ".NAME.TAG.XXXXXX" beside the target; with
  // removeStale, temporaries of that pattern left by an earlier writer that
  // did not finish are removed first.
  explicit OutputFile(std::string target, const char* tag = "boxtool", bool removeStale = false);
  ~OutputFile();  // a file not committed is removed
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool opened() const { return fd_ >= 0; }

  // Gives the new file the permission bits and owner of st (the owner where
  // the system lets this process give it).  False, with error set, when not.
  bool keepModeAndOwner(const struct stat& st);

  // Appends bytes through fileCalls.write.  False, with error set, on failure.
  bool write(const void* bytes, size_t length);
  // A buffered stream on the file, for a writer of many small pieces; made
  // at the first call.  commit() flushes it.
  FILE* stream();

  // Flushes the file to the disk and moves it into place.  With replace
  // false an existing target is never replaced, also one that appeared while
  // this was written ("the file exists").  False, with error and failed set,
  // on any failure; the target is then as it was.
  bool commit(bool replace);

  std::string error;
  Step failed = Step::kNone;

 private:
  bool fail(Step step, int error);
  bool moveIntoPlace(bool replace);

  std::string target_;
  std::string temp_;
  int fd_ = -1;
  FILE* stream_ = nullptr;
};
