#include "start_state.h"

#include <cstdlib>

#include "file_state.h"

namespace {

constexpr char kCertificateFile[] = "SSL_CERT_FILE";
constexpr std::array kVariables = {"HOME",           "XDG_CONFIG_HOME",    "SSL_CERT_DIR",
                                   kCertificateFile, "UWUGIT_CACHE_BYTES", "UWUGIT_TRUST_OBJECTS"};

// The bundles of the distributions, each built into some libgit2 or its TLS library. What they link
// to is looked at.
constexpr std::array kBundles = {
    "/etc/ssl/certs/ca-certificates.crt",  // Debian and Arch
    "/etc/pki/tls/certs/ca-bundle.crt",    // Fedora, its libgit2
    "/etc/pki/tls/cert.pem",               // Fedora, its OpenSSL
    "/etc/ssl/ca-bundle.pem",              // openSUSE
    "/etc/ssl/cert.pem",                   // Alpine
};

// The last of the files is the one that the environment names.
const char* path_of(std::size_t file) {
  return file < kBundles.size() ? kBundles[file] : std::getenv(kCertificateFile);
}

bool is_same(const std::optional<std::string>& kept, const char* value) {
  return value ? kept && *kept == value : !kept;
}

}  // namespace

void StartState::take() {
  static_assert(kValues == kVariables.size() && kFiles == kBundles.size() + 1);
  for (std::size_t i = 0; i < kValues; ++i) {
    const char* value = std::getenv(kVariables[i]);
    values_[i] = value ? std::optional<std::string>(value) : std::nullopt;
  }
  for (std::size_t i = 0; i < kFiles; ++i) files_[i] = look_at(path_of(i));
}

bool StartState::is_current() const {
  for (std::size_t i = 0; i < kValues; ++i) {
    if (!is_same(values_[i], std::getenv(kVariables[i]))) return false;
  }
  for (std::size_t i = 0; i < kFiles; ++i) {
    if (!is_same(files_[i], look_at(path_of(i)))) return false;
  }
  return true;
}
