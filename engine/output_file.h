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
// What the target is decides what is written:
// - a regular file is replaced whole; the new file keeps its permission
//   bits, and its owner where the system lets this process give it;
// - a symbolic link is followed: the file it leads to is replaced and the
//   link stays; a link that leads nowhere is refused;
// - a device or a FIFO is written through, as a shell's redirection writes
//   it (opened for writing, no temporary); a socket is refused.
//
// Each temporary is ".NAME.TAG.XXXXXX" beside the target (NAME shortened
// where the whole would be longer than a file name may be), locked with
// flock while its writer lives, and removed when the writer gives up or is
// ended by SIGINT, SIGTERM or SIGHUP.  Temporaries of the target that no
// writer holds any more (left by a writer that was killed) are removed by
// the next writer of the target.
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
// hard links).  The names of rename and link are in the directory dir.
struct FileCalls {
  ssize_t (*write)(int fd, const void* buffer, size_t count);
  int (*fsync)(int fd);
  int (*rename)(int dir, const char* from, const char* to);
  int (*link)(int dir, const char* from, const char* to);
  // rename that fails with EEXIST rather than replace (renameat2's
  // RENAME_NOREPLACE); EINVAL where the file system cannot.
  int (*renameNoReplace)(int dir, const char* from, const char* to);
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

// True when path names an existing regular file (through symbolic links)
// that this process may not write: no write permission for it, or none
// for anybody.
bool isReadOnlyFile(const std::string& path);

class OutputFile {
 public:
  // The step that failed.
  enum class Step { kNone, kCreate, kWrite, kChanged, kReplace };

  // A temporary beside target, or target itself opened for writing when it
  // is a device or a FIFO.  tag tells the writer in the temporary's name.
  explicit OutputFile(std::string target, const char* tag = "boxtool");
  ~OutputFile();  // a file not committed is removed
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool opened() const { return fd_ >= 0; }
  // True when the target is written through rather than replaced.
  bool throughTarget() const { return through_; }

  // Gives the new file the permission bits and owner of st (the owner where
  // the system lets this process give it).  False, with error set, when not.
  bool keepModeAndOwner(const struct stat& st);

  // Makes commit() refuse ("the file changed while it was being
  // rewritten") when the target is no longer the file st describes: another
  // file, another size or another modification time.
  void replaceOnlyIfUnchanged(const struct stat& st);

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
  bool fail(Step step, const char* why);
  bool closeFile();
  bool unchanged();
  bool moveIntoPlace(bool replace);

  std::string name_;  // the target's name in its directory
  std::string temp_;  // the temporary's name there; empty when none is left
  int dir_ = -1;
  int fd_ = -1;
  int slot_ = -1;  // the temporary's place among those removed on a signal
  bool through_ = false;
  bool checkUnchanged_ = false;
  struct stat expected_ {};
  FILE* stream_ = nullptr;
};
