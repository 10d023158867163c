// What a call offers to a remote repository, and how libgit2 asks for it. Shared by clone, fetch,
// pull and push.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

// Where a transfer's arguments stand. User, password, public and private key stand at `user` and
// after it. Behind the certificate file comes a flag that asks for the platform's own credentials
// in place of all four; it counts only when it is the last argument.
struct CredentialPositions {
  int user;
  int certificate;
};

// The payload of credentials_cb. Texts that were not given are null.
struct RemoteCredentials {
  char* user;
  char* password;  // decoded; also the passphrase of the private key
  char* publicKey;
  char* privateKey;
  std::int32_t attempts;  // credentials handed out so far
};

int credentials_cb(git_credential** credential, const char* url, const char* user_from_url,
                   unsigned allowed_types, void* payload);
int credentials_default_cb(git_credential** credential, const char* url, const char* user_from_url,
                           unsigned allowed_types, void* payload);

// The credentials of one call, in its pool. The decoded password is wiped before its block goes
// back.
class Credentials {
 public:
  Credentials(const GitCall& call, const CredentialPositions& positions);
  ~Credentials();
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;

  // Makes libgit2 trust the authorities in the certificate file, if one was given, until it is shut
  // down. A file that is rejected is logged, and the transfer goes on without it.
  void trust_certificate_file() const;

  // libgit2's initial options for a transfer, with these credentials.
  void prepare(Transfer transfer, TransferOptions* options) const;

 private:
  const GitCall& call_;
  HostText certificate_;
  RemoteCredentials* record_ = nullptr;  // null: the platform's own
  std::size_t password_capacity_ = 0;
};

// Whether an optional text says something: an empty one and a single blank are the same as none.
bool is_given(HostText text);

// A transfer ended with a negative code: writes the result and the reason.
void fail_transfer(const GitCall& call, int code);

}  // namespace uwugit
