// Encoded passwords: texts that can be stored in programs and options, and that only the owner of
// the key file can turn back.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace uwugit::host {

// A libsodium secret box under the key of one user. An encoded password is "{uwugit1}" and the
// nonce and box in base64.
class PasswordService {
 public:
  // By default the key lies in $UWUGIT_KEY_FILE, else in uwugit/password.key below $XDG_CONFIG_HOME
  // or ~/.config.
  explicit PasswordService(std::filesystem::path key_file = default_key_file());

  static std::filesystem::path default_key_file();

  // Makes the key file, readable by its owner only, when there is none yet. Throws
  // std::runtime_error when the key file cannot be made, read or is readable by others.
  std::string encode(std::string_view password) const;

  // The password; nothing when the text is not in the encoded form or was encoded with another key.
  // The caller wipes the result.
  std::optional<std::string> decode(std::string_view encoded) const;

  const std::filesystem::path& key_file() const { return key_file_; }

 private:
  std::filesystem::path key_file_;
};

}  // namespace uwugit::host
