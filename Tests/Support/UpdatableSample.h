#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quillon::testing {

/// The sample application of Examples in versions without end, signed, with everything it needs to update itself, and
/// the copy of it that is installed. The commands are those of this build, stripped.
class UpdatableSample {
 public:
  /// Works in `folder`; the application is installed in `folder`/Applications. The items of `content`, if it is not
  /// empty, are among every version's resources. Vouches for the signatures on this machine while it lives.
  explicit UpdatableSample(const std::filesystem::path& folder, std::filesystem::path content = {});
  ~UpdatableSample();
  UpdatableSample(const UpdatableSample&) = delete;
  UpdatableSample& operator=(const UpdatableSample&) = delete;

  [[nodiscard]] const std::filesystem::path& installed() const noexcept { return installed_; }
  /// The commands that an update takes, for whoever cannot get at those of this build.
  [[nodiscard]] const std::filesystem::path& programs() const noexcept { return programs_; }
  /// The machine's settings that have been changed to vouch for the signatures.
  [[nodiscard]] std::filesystem::path settings() const { return anchor_.parent_path(); }

  /// Has the application belong to another user from here on, and be started by `command`, which runs the words that
  /// follow as that user. `folder` has to be open to the user.
  void giveTo(uid_t user, gid_t group, std::vector<std::string> command);

  /// Makes version `number`.0 with build `number` at `bundle`.
  void make(int number, const std::filesystem::path& bundle) const;
  /// Installs version `number`, in the place of what is installed.
  void install(int number) const;
  /// The bytes of an archive of version `number`; of one that somebody changed after it was signed, if `isTampered`.
  [[nodiscard]] std::string makeArchive(int number, bool isTampered) const;

  /// The number of the version that is installed, complete and with a valid signature; 0 where there is none.
  [[nodiscard]] int installedNumber() const;
  /// Whether the installed version runs: starts it where it does not, and waits until it says that it has started.
  [[nodiscard]] bool runs(int number) const;
  /// The process of the latest start of this version that the application has noted; 0 when it has noted none.
  [[nodiscard]] pid_t startedProcess(int number) const;

 private:
  const std::filesystem::path folder_;
  const std::filesystem::path content_;
  const std::filesystem::path installed_;
  const std::filesystem::path programs_;
  const std::filesystem::path anchor_;
  uid_t user_;
  gid_t group_;
  std::vector<std::string> asUser_;
};

}  // namespace quillon::testing
