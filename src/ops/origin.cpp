#include "ops/origin.h"

namespace uwugit {

Origin::Origin(const RepoCall& call, const CredentialPositions& positions)
    : remote(call), credentials(call, positions), head(call) {
  is_ready = required(GIT(call, git_remote_lookup), &remote.it, call.repo.it, kOrigin) >= 0 &&
             required(GIT(call, git_repository_head), &head.it, call.repo.it) >= 0;
  if (!is_ready) call.give_up();
}

const char* current_branch(const RepoCall& call, const Origin& origin) {
  const char* name = if_found(GIT(call, git_reference_name), origin.head.it);
  if (!name) call.give_up();
  return name;
}

int fetch_from(const RepoCall& call, const Origin& origin, const char* refspec) {
  TransferOptions options;
  origin.credentials.prepare(Transfer::kFetch, &options);
  auto* text = const_cast<char*>(refspec);
  const git_strarray list = {&text, 1};
  return if_found(GIT(call, git_remote_fetch), origin.remote.it, refspec ? &list : nullptr,
                  reinterpret_cast<git_fetch_options*>(options.bytes), nullptr);
}

}  // namespace uwugit
