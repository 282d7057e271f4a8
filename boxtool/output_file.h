// A file written beside its final place and renamed into it once complete,
// so that the final path never holds a part of it: it keeps what it held,
// or it holds the whole new file.
//
//   OutputFile out("NEW.BOX");
//   if (!out.opened()) complain(out.error);
//   std::fwrite(..., out.stream());
//   if (!out.commit(false)) complain(out.error);   // false: never replace
#pragma once

#include <cstdio>
#include <string>

class OutputFile {
 public:
  explicit OutputFile(std::string path);
  ~OutputFile();  // a file not committed is removed
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool opened() const { return stream_ != nullptr; }
  FILE* stream() { return stream_; }

  // Flushes the file to the disk and moves it into place.  With replace
  // false an existing file is never replaced, also one that appeared while
  // this was written.  False, with error set, on any failure.
  bool commit(bool replace);

  std::string error;

 private:
  std::string path_;
  std::string temp_;
  FILE* stream_ = nullptr;
};

// True when both paths exist and name the same file.
bool sameFile(const std::string& a, const std::string& b);

// True when something exists at path (a dangling symbolic link included).
bool pathExists(const std::string& path);
