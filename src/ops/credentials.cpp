#include "ops/credentials.h"

#include <cstring>
#include <initializer_list>
#include <string_view>

#include "module/password.h"

namespace uwugit {
namespace {

constexpr double kNotAuthenticated = -3.0;
constexpr int kRefused = -3;  // ends a transfer that asks for a second credential
constexpr int kUseDefaultCredentials = 1;

char* copy_if_present(HostPool* pool, HostText text) {
  if (!text.is_present()) return nullptr;
  return copy_text(pool, text.characters, static_cast<std::size_t>(text.length));
}

std::size_t password_capacity(HostText encoded) {
  return kDecodedGrowth * static_cast<std::size_t>(encoded.length) + 1;
}

// A password that cannot be decoded is used as it stands.
char* decode(HostPool* pool, HostText encoded) {
  const std::size_t capacity = password_capacity(encoded);
  auto length = static_cast<std::size_t>(encoded.length);
  auto* buffer = static_cast<char*>(pool->allocate(pool, capacity, 0));
  if (length > 0) std::memcpy(buffer, encoded.characters, length);
  zkeldec(buffer, &length);
  buffer[length] = '\0';
  return buffer;
}

bool is_single_blank(std::string_view text) { return text == " "; }

int offer_key(GitModule* git, git_credential** credential, const RemoteCredentials* offer) {
  // A key without its private file or its user is libgit2's to refuse, where it can.
  const bool is_complete = offer->user && offer->privateKey;
  if (!is_complete && !refuses_null_arguments(git)) return -1;
  return required(GIT(git, git_credential_ssh_key_new), credential, offer->user, offer->publicKey,
                  offer->privateKey, offer->password);
}

int offer_password(GitModule* git, git_credential** credential, const RemoteCredentials* offer) {
  return required(GIT(git, git_credential_userpass_plaintext_new), credential, offer->user,
                  offer->password);
}

}  // namespace

bool is_given(HostText text) {
  return text.length > 0 &&
         !is_single_blank({text.characters, static_cast<std::size_t>(text.length)});
}

// libgit2 asks again when the server rejects what it got, for as long as it is answered: the first
// offer is the only one. What kinds of credential the server would take is not looked at; libgit2
// refuses one of a wrong kind itself.
int credentials_cb(git_credential** credential, const char*, const char*, unsigned, void* payload) {
  auto* offer = static_cast<RemoteCredentials*>(payload);
  if (offer->attempts == 1) return kRefused;
  offer->attempts = 1;
  if (offer->publicKey && !is_single_blank(offer->publicKey)) {
    return offer_key(git2Module, credential, offer);
  }
  if (offer->user && offer->password) return offer_password(git2Module, credential, offer);
  xpslog(message::kCredentialsRequired);
  // What libgit2 got over earlier in this call is not the reason.
  if_found(GIT(git2Module, git_error_clear));
  return -1;
}

int credentials_default_cb(git_credential** credential, const char*, const char*, unsigned, void*) {
  return required(GIT(git2Module, git_credential_default_new), credential);
}

Credentials::Credentials(const GitCall& call, const CredentialPositions& positions)
    : call_(call), certificate_(optional_text_argument(call.arguments, positions.certificate)) {
  const int flag = positions.certificate + 1;
  if (call.count() == flag + 1 && call.number(flag) == kUseDefaultCredentials) return;
  HostPool* pool = call.pool;
  const auto given = [&](int offset) {
    return optional_text_argument(call.arguments, positions.user + offset);
  };
  record_ = static_cast<RemoteCredentials*>(pool->allocate(pool, sizeof *record_, 0));
  *record_ = {};
  record_->user = copy_if_present(pool, given(0));
  if (const HostText password = given(1); password.is_present()) {
    password_capacity_ = password_capacity(password);
    record_->password = decode(pool, password);
  }
  record_->publicKey = copy_if_present(pool, given(2));
  record_->privateKey = copy_if_present(pool, given(3));
}

Credentials::~Credentials() {
  if (!record_) return;
  if (record_->password) explicit_bzero(record_->password, password_capacity_);
  HostPool* pool = call_.pool;
  for (char* text : {record_->privateKey, record_->publicKey, record_->password, record_->user}) {
    if (text) pool->free_block(pool, text);
  }
  pool->free_block(pool, record_);
}

void Credentials::trust_certificate_file() const {
  if (!is_given(certificate_)) return;
  const PoolText path(call_.pool, certificate_);
  auto* set = GIT(call_, git_libgit2_opts);
  const char* const no_folder = nullptr;
  if (!set || set(GIT_OPT_SET_SSL_CERT_LOCATIONS, path.text, no_folder) != 0) call_.give_up();
}

void Credentials::prepare(Transfer transfer, TransferOptions* options) const {
  prepare_transfer(call_, transfer, options, record_ ? credentials_cb : credentials_default_cb,
                   record_);
}

// libgit2's own "not found" has the code of a refusal as well, and would be reported as one.
void fail_transfer(const GitCall& call, int code) {
  if (code == kRefused) {
    xpslog(message::kNotAuthenticated);
    *call.result = kNotAuthenticated;
    return;
  }
  const int error_class = log_git_error(call);
  // A class of 0 means that libgit2 cannot tell, which must not look like success.
  *call.result = error_class == 0 ? kFailure : error_class;
}

}  // namespace uwugit
