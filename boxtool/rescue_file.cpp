#include "rescue_file.h"

#include <vector>

#include "analysed_file.h"
#include "box_file.h"
#include "output_file.h"

namespace {

// Writes bytes to path beside it and moves them into place.
bool writeWhole(const std::string& path, const std::vector<uint8_t>& bytes, bool replace,
                std::string& error) {
  OutputFile out(path);
  if (out.opened() && out.write(bytes.data(), bytes.size()) && out.commit(replace)) return true;
  error = out.error;
  return false;
}

RescueFile failed(RescueFile r, const std::string& path, const std::string& reason, int status) {
  r.failedPath = path;
  r.reason = reason;
  r.status = status;
  return r;
}

}  // namespace

RescueFile rescueFile(const std::string& broken, const std::string& target, const RescueOptions& options,
                      bool replace, const std::function<bool()>& keep) {
  RescueFile r;
  if (sameFile(broken, target))
    return failed(std::move(r), target, "is the broken box itself; the broken box is never written",
                  exit_status::kNotWritten);
  // Mapped read-only: the broken box is read, never written.
  const BoxFile file(broken.c_str());
  if (!file.problem.empty()) return failed(std::move(r), broken, file.problem, exit_status::kNotAnalysed);
  r.box = rescueBox(file.view(), options);
  // What was read from a file that shrank is partly zeros: write nothing.
  if (file.shrank())
    return failed(std::move(r), broken, "the file shrank while it was being read", exit_status::kNotAnalysed);
  if (!r.box.problem.empty()) {
    const std::string problem = r.box.problem;
    return failed(std::move(r), broken, problem, exit_status::kRefused);
  }
  if (keep && !keep()) {
    r.abandoned = true;
    return r;
  }
  std::string error;
  if (!writeWhole(target, r.box.bytes, replace, error))
    return failed(std::move(r), target, error, exit_status::kNotWritten);
  r.status = r.box.whole() ? exit_status::kClean : exit_status::kIncomplete;
  return r;
}

bool copyBoxFile(const std::string& path, const std::string& copy, std::string& error) {
  std::vector<uint8_t> bytes;
  error = readBoxFile(path.c_str(), bytes);
  return error.empty() && writeWhole(copy, bytes, false, error);
}
