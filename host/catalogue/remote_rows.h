// The rows that clone, fetch, pull and push share: how credentials are given, and how a transfer
// fails.
#pragma once

#include "rows.h"

namespace uwugit::host {

inline constexpr Parameter kUser = {"user", Kind::kText,
                                    "user name; over SSH the same one as in the URL", kOptional};
inline constexpr Parameter kPassword = {
    "password", Kind::kText,
    "password, or passphrase of the private key, as `uwugit encode-password` makes it; any other "
    "text is used as it stands",
    kOptional};
inline constexpr Parameter kPublicKey = {
    "public_key", Kind::kText,
    "SSH public key file; one blank is the same as none. It chooses SSH keys over the password",
    kOptional};
inline constexpr Parameter kPrivateKey = {"private_key", Kind::kText,
                                          "SSH private key file (ed25519 or ECDSA)", kOptional};
inline constexpr Parameter kCertificate = {
    "certificate_file", Kind::kText,
    "file of the authorities (PEM) to trust for TLS instead of the system's, in this call only; "
    "one blank is the same as none",
    kOptional};
inline constexpr Parameter kDefaultCredentials = {
    "default_credentials", Kind::kNumber,
    "1: the platform's own credentials; user, password and keys are ignored", kOptional};

inline constexpr ResultRow kNotAuthenticated =
    failure(-3, "the server did not accept the credentials");
inline constexpr ResultRow kOtherError =
    failure_with_other_code("the class of libgit2's error, which is in the log");

}  // namespace uwugit::host
