#include "uwugithost/passwords.h"

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <vector>

namespace uwugit::host {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPrefix = "{uwugit1}";
constexpr int kBase64 = sodium_base64_VARIANT_ORIGINAL;
constexpr std::size_t kOverhead = crypto_secretbox_NONCEBYTES + crypto_secretbox_MACBYTES;

using Bytes = std::vector<unsigned char>;

struct Key {
  std::array<unsigned char, crypto_secretbox_KEYBYTES> bytes{};
  ~Key() { sodium_memzero(bytes.data(), bytes.size()); }
};

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }

 private:
  int number_;
};

void start_sodium() {
  if (sodium_init() < 0) throw std::runtime_error("The encryption library cannot be started.");
}

void make_key_file(const fs::path& file) {
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  Key key;
  crypto_secretbox_keygen(key.bytes.data());
  const Descriptor made(
      open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
  const auto size = static_cast<ssize_t>(key.bytes.size());
  if (!made.is_open() || write(made.number(), key.bytes.data(), key.bytes.size()) != size) {
    throw std::runtime_error("The key file " + file.string() + " cannot be written.");
  }
}

void read_key(const fs::path& file, Key& key) {
  const Descriptor found(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat state {};
  if (!found.is_open() || fstat(found.number(), &state) != 0) {
    throw std::runtime_error("The key file " + file.string() + " cannot be read.");
  }
  if ((state.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw std::runtime_error("The key file " + file.string() +
                             " can be read by others. Make it readable by its owner only.");
  }
  const auto size = static_cast<ssize_t>(key.bytes.size());
  if (state.st_size != size || read(found.number(), key.bytes.data(), key.bytes.size()) != size) {
    throw std::runtime_error("The key file " + file.string() + " does not hold a key.");
  }
}

std::string to_base64(const Bytes& bytes) {
  std::string text(sodium_base64_encoded_len(bytes.size(), kBase64), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(), kBase64);
  text.resize(text.size() - 1);  // its NUL
  return text;
}

std::optional<Bytes> from_base64(std::string_view text) {
  if (text.empty()) return std::nullopt;
  Bytes bytes(text.size());
  std::size_t length = 0;
  const char* end = nullptr;
  if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length,
                        &end, kBase64) != 0 ||
      end != text.data() + text.size()) {
    return std::nullopt;
  }
  bytes.resize(length);
  return bytes;
}

}  // namespace

PasswordService::PasswordService(fs::path key_file) : key_file_(std::move(key_file)) {}

fs::path PasswordService::default_key_file() {
  if (const char* file = std::getenv("UWUGIT_KEY_FILE"); file && *file) return file;
  if (const char* folder = std::getenv("XDG_CONFIG_HOME"); folder && *folder) {
    return fs::path(folder) / "uwugit" / "password.key";
  }
  const char* home = std::getenv("HOME");
  return fs::path(home ? home : ".") / ".config" / "uwugit" / "password.key";
}

std::string PasswordService::encode(std::string_view password) const {
  start_sodium();
  std::error_code error;
  if (!fs::exists(key_file_, error)) make_key_file(key_file_);
  Key key;
  read_key(key_file_, key);
  Bytes box(kOverhead + password.size());
  randombytes_buf(box.data(), crypto_secretbox_NONCEBYTES);
  crypto_secretbox_easy(box.data() + crypto_secretbox_NONCEBYTES,
                        reinterpret_cast<const unsigned char*>(password.data()), password.size(),
                        box.data(), key.bytes.data());
  return std::string(kPrefix) + to_base64(box);
}

std::optional<std::string> PasswordService::decode(std::string_view encoded) const {
  if (!encoded.starts_with(kPrefix)) return std::nullopt;
  start_sodium();
  const std::optional<Bytes> box = from_base64(encoded.substr(kPrefix.size()));
  if (!box || box->size() < kOverhead) return std::nullopt;
  Key key;
  read_key(key_file_, key);
  // Made where it is returned, so that no copy is left behind.
  std::optional<std::string> password(std::in_place, box->size() - kOverhead, '\0');
  const int status = crypto_secretbox_open_easy(
      reinterpret_cast<unsigned char*>(password->data()), box->data() + crypto_secretbox_NONCEBYTES,
      box->size() - crypto_secretbox_NONCEBYTES, box->data(), key.bytes.data());
  if (status != 0) password.reset();
  return password;
}

}  // namespace uwugit::host
