// Converts UTF-8 test texts to EUC-JP, so expected debug lines can be
// written readably and compared with the bytes vorn prints.
#pragma once

#include <iconv.h>

#include <stdexcept>
#include <string>

namespace boxtest {

inline std::string euc(const std::string& utf8) {
  iconv_t cd = iconv_open("EUC-JP", "UTF-8");
  if (cd == reinterpret_cast<iconv_t>(-1)) throw std::runtime_error("no EUC-JP converter");
  std::string out(utf8.size() * 2 + 8, '\0');
  char* in = const_cast<char*>(utf8.data());
  size_t inLeft = utf8.size();
  char* o = out.data();
  size_t outLeft = out.size();
  const size_t r = iconv(cd, &in, &inLeft, &o, &outLeft);
  iconv_close(cd);
  if (r == static_cast<size_t>(-1)) throw std::runtime_error("cannot convert " + utf8);
  out.resize(out.size() - outLeft);
  return out;
}

}  // namespace boxtest
