#include "ops/origin.h"

#include "module/messages.h"
#include "module/vector_stubs.h"

namespace uwugit {
namespace {

constexpr char kOrigin[] = "origin";

}  // namespace

bool open_origin(GitCall& call, const char* path, Origin* origin) {
  if (open_repo(call.git, path, &origin->repo.it) != 0) {
    *call.result = kFailure;
    xpslog(message::kErrorOpening, path);
    return false;
  }
  if (attempt(GIT(call, git_remote_lookup), &origin->remote.it, origin->repo.it, kOrigin) < 0) {
    log_git_error(call.git);
    return false;
  }
  return true;
}

bool find_head(GitCall& call, Origin* origin) {
  if (attempt(GIT(call, git_repository_head), &origin->head.it, origin->repo.it) >= 0) return true;
  log_git_error(call.git);
  return false;
}

const char* current_branch(GitCall& call, Origin* origin) {
  if (!find_head(call, origin)) return nullptr;
  if (auto* name = GIT(call, git_reference_name)) return name(origin->head.it);
  log_git_error(call.git);
  return nullptr;
}

int fetch_from(GitCall& call, git_remote* remote, const char* refspec,
               const Credentials& credentials) {
  TransferOptions options;
  credentials.prepare(call.git, Transfer::kFetch, &options);
  auto* run = GIT(call, git_remote_fetch);
  if (!run) return 0;
  auto* text = const_cast<char*>(refspec);
  const git_strarray list = {&text, 1};
  return run(remote, refspec ? &list : nullptr, reinterpret_cast<git_fetch_options*>(options.bytes),
             nullptr);
}

}  // namespace uwugit
