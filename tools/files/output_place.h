#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kt {

/// Throws a `Failure` when a regular file has the name already and may not be replaced.
void RequireFree(const std::string& name, bool force);

/// Where a file is written that gets its name only when it is complete. Until `Commit` its bytes gather
/// beside it under another name; without a `Commit` they go, and what stood under the name stays untouched.
/// All failures are thrown as `Failure`.
class OutputPlace {
 public:
  /// Makes sure that the file can be written, and lays down an empty one under the other name. `inputs`
  /// are the names of the files that are being read, which the output must not replace. Any other file is
  /// replaced with `force` alone; without it one that comes meanwhile makes `Commit` fail and stays.
  OutputPlace(const std::string& name, const std::vector<std::string>& inputs, bool force);
  ~OutputPlace();
  OutputPlace(const OutputPlace&) = delete;
  OutputPlace& operator=(const OutputPlace&) = delete;

  /// The name under which the bytes gather; whoever writes them has closed the file before `Commit`.
  std::string PartialName() const { return m_partial.string(); }
  /// What a message about it begins with: "cannot write "x.mp4"".
  const std::string& Operation() const { return m_operation; }
  void Commit();

 private:
  std::string m_operation;
  std::filesystem::path m_target;
  std::filesystem::path m_partial;
  bool m_force;
};

}  // namespace kt
