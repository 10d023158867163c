// What a call offers to a remote repository, and how libgit2 asks for it. Shared by clone, fetch,
// pull and push.
#pragma once

#include "gitbind/frame.h"

namespace uwugit {

// The credential arguments of a call, and what follows them, as the host holds them.
struct CredentialArguments {
  HostText user;
  HostText password;  // in the host's encoded form
  HostText public_key;
  HostText private_key;
  HostText certificate;
  bool is_default = false;  // the platform's own credentials, and nothing of the above but the
                            // certificate
};

// User, password, public and private key stand at `first` and after it. The flag follows the
// certificate file and counts only when it is the last argument.
CredentialArguments credential_arguments(const HostArgumentBlock* arguments, int first,
                                         int certificate);

// Whether an optional text says something: an empty one and a single blank are the same as none.
bool is_given(HostText text);

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
  Credentials(HostPool* pool, const CredentialArguments& arguments);
  ~Credentials();
  Credentials(const Credentials&) = delete;
  Credentials& operator=(const Credentials&) = delete;

  // libgit2's initial options for a transfer, with these credentials.
  void prepare(GitModule* git, Transfer transfer, TransferOptions* options) const;

 private:
  HostPool* pool_;
  RemoteCredentials* record_ = nullptr;  // null: the platform's own
  std::size_t password_capacity_ = 0;
};

// Makes libgit2 trust the authorities in the certificate file, if one is given, until it is shut
// down. A file that is rejected is logged, and the transfer goes on without it.
void trust_certificate_file(GitCall& call, HostText file);

// A transfer ended with a negative code: writes the result and the reason.
void fail_transfer(GitCall& call, int code);

}  // namespace uwugit
