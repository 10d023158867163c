// libgit2 before 1.4.5, and 1.5.0, takes every SSH host for the right one: its key is not compared
// with the known hosts. Whoever is in between can read and change what is transferred.
//
// Here such a libgit2 connects by SSH only when the environment has UWUGIT_ACCEPT_SSH_HOSTS=1, and
// else says why not.

#include "ssh_hosts.h"

#include <cstdlib>
#include <string_view>

#include "next.h"
// After git2.h, on whose declarations it relies.
#include <git2/sys/transport.h>

namespace {

constexpr char kAcceptance[] = "UWUGIT_ACCEPT_SSH_HOSTS";
constexpr char kRefusal[] =
    "this version of libgit2 does not check the keys of SSH hosts. Use 1.4.5, 1.5.1 or a later "
    "one, or set UWUGIT_ACCEPT_SSH_HOSTS=1 to connect to any host";
constexpr const char* kSchemes[] = {"ssh", "ssh+git", "git+ssh"};

bool is_guarding = false;

bool is_accepted() {
  const char* value = std::getenv(kAcceptance);
  return value && std::string_view(value) == "1";
}

bool are_hosts_checked() {
  int major = 0;
  int minor = 0;
  int revision = 0;
  git_libgit2_version(&major, &minor, &revision);
  const int version = major * 10000 + minor * 100 + revision;
  return version >= 10405 && version != 10500;
}

int connect(git_transport** transport, git_remote* owner, void*) {
  static git_smart_subtransport_definition ssh = {git_smart_subtransport_ssh, 0, nullptr};
  if (is_accepted()) return git_transport_smart(transport, owner, &ssh);
  git_error_set_str(GIT_ERROR_SSH, kRefusal);
  return GIT_ECERTIFICATE;
}

}  // namespace

void guard_ssh_hosts() {
  is_guarding = !are_hosts_checked();
  if (!is_guarding) return;
  for (const char* scheme : kSchemes) git_transport_register(scheme, connect, nullptr);
}

void unguard_ssh_hosts() {
  if (!is_guarding) return;
  for (const char* scheme : kSchemes) git_transport_unregister(scheme);
}
