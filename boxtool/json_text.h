// The JSON documents of boxtool that hold a few values each (check's lines,
// info, recover's summary, export's head): nlohmann's objects, whose keys
// keep the order they were set in, written on one line.  Export writes its
// records with a writer of its own (export.cpp), which streams them.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

using Json = nlohmann::ordered_json;

// j on one line.  Every string in it is printable() already; a byte that
// is not UTF-8 would be replaced, as a safety net.
inline std::string jsonText(const Json& j) { return j.dump(-1, ' ', false, Json::error_handler_t::replace); }
