#include "record_values.h"

#include <iconv.h>

#include <cctype>
#include <cerrno>

#include "box_format.h"
#include "coding.h"
#include "time_value.h"

namespace {

bool isUtf8Name(const std::string& name) {
  std::string plain;
  for (char c : name) {
    if (c != '-' && c != '_') plain += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return plain == "UTF8";
}

}  // namespace

ValueDecoder::ValueDecoder(const std::string& encoding) : utf8_(isUtf8Name(encoding)) {
  if (utf8_) return;
  iconv_t cd = iconv_open("UTF-8", encoding.c_str());
  // NOLINTNEXTLINE(performance-no-int-to-ptr): iconv_open's failure value
  if (cd != reinterpret_cast<iconv_t>(-1)) converter_ = cd;
}

ValueDecoder::~ValueDecoder() {
  if (converter_) iconv_close(static_cast<iconv_t>(converter_));
}

bool ValueDecoder::toText(const uint8_t* bytes, uint32_t length, RecordValue& out) {
  if (utf8_) {
    if (!validUtf8(bytes, length)) return false;
    out.inPlace = std::string_view(reinterpret_cast<const char*>(bytes), length);
    return true;
  }
  auto* const cd = static_cast<iconv_t>(converter_);
  iconv(cd, nullptr, nullptr, nullptr, nullptr);  // the initial shift state
  // Four bytes of UTF-8 for every input byte is more than any conversion
  // needs; the loop grows the buffer should one need more.
  buffer_.resize(uint64_t{length} * 4 + 16);
  char* in = const_cast<char*>(reinterpret_cast<const char*>(bytes));
  size_t inLeft = length;
  size_t done = 0;
  for (;;) {
    char* outPtr = buffer_.data() + done;
    size_t outLeft = buffer_.size() - done;
    const size_t r = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
    done = static_cast<size_t>(outPtr - buffer_.data());
    if (r != static_cast<size_t>(-1)) break;
    if (errno != E2BIG) return false;  // EILSEQ, EINVAL: not text in this encoding
    buffer_.resize(buffer_.size() * 2);
  }
  // The closing shift sequence, if the encoding has one.
  char* outPtr = buffer_.data() + done;
  size_t outLeft = buffer_.size() - done;
  if (iconv(cd, nullptr, nullptr, &outPtr, &outLeft) == static_cast<size_t>(-1)) return false;
  done = static_cast<size_t>(outPtr - buffer_.data());
  out.text.assign(buffer_.data(), done);
  return true;
}

void ValueDecoder::decode(const ItemInfoEntry& field, const uint8_t* bytes, uint32_t length,
                          RecordValue& out) {
  out.text.clear();
  out.inPlace = {};
  out.integer = 0;
  if (length == 0) {
    out.kind = ValueKind::kNull;
    return;
  }
  const box::DataIdTraits traits = box::dataIdTraits(field.dataId);
  if (traits.fixedLength != 0 && length != traits.fixedLength) {
    out.kind = ValueKind::kHex;
    appendHex(out.text, bytes, length);
    return;
  }
  switch (traits.type) {
    case box::ValueType::kTime: {
      const TimeFields t = decodeTime(bytes);
      if (t.unset) {
        out.kind = ValueKind::kNull;
      } else if (!timeConverts(t)) {
        out.kind = ValueKind::kIllegalTime;
        appendHex(out.text, bytes, length);
      } else {
        out.kind = ValueKind::kTime;
        appendIsoTime(out.text, t);
      }
      return;
    }
    case box::ValueType::kWeekday:
    case box::ValueType::kInteger:
      out.kind = ValueKind::kInteger;
      out.integer = length == 1 ? bytes[0] : length == 2 ? decodeFixed16(bytes) : decodeFixed32(bytes);
      return;
    case box::ValueType::kText:
      if (toText(bytes, length, out)) {
        out.kind = ValueKind::kText;
      } else {
        out.kind = ValueKind::kHex;
        out.text.clear();
        appendHex(out.text, bytes, length);
      }
  }
}
