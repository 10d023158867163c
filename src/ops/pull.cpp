// do_pull(repository, user, password, public key, private key, certificate file,
//         default credentials) -> 0, 1, -1, -2, -3 or the class of libgit2's error
//
// Also registered as GIT_PULL. The return code stays as it was where there is no "origin" or no
// commit yet.

#include <string_view>

#include "ops/merge_into_head.h"
#include "ops/origin.h"
#include "uwugit/functions.h"

namespace uwugit {
namespace {

constexpr FrameRules kPull = {.pool_name = "gitPullPool",
                              .is_broken_pipe_held_off = true,
                              .opening_error = message::kErrorOpening};
constexpr char kFetchHeadPool[] = "fetchhead";

constexpr HostText constant(std::string_view text) {
  return {text.data(), static_cast<std::int32_t>(text.size())};
}
constexpr HostText kCommitter = constant("Merge");
constexpr HostText kEmail = constant("No Email");
constexpr char kTheirName[] = "FETCH_HEAD";
constexpr char kOurLabel[] = "Local";
constexpr char kTheirLabel[] = "Remote";

// What the ends of a merge answer: the result of the pull. The others go on to the next entry.
struct Answer {
  MergeEnd end;
  int code;
};
constexpr int kGoOn = 0;
constexpr Answer kAnswers[] = {
    {MergeEnd::kUpToDate, 1},   {MergeEnd::kNotFastForwarded, -1}, {MergeEnd::kNotCommitted, -1},
    {MergeEnd::kConflicts, -2}, {MergeEnd::kNotMerged, -1},        {MergeEnd::kStepFailed, -1},
};

int answer_to(MergeEnd end) {
  for (const Answer& answer : kAnswers) {
    if (answer.end == end) return answer.code;
  }
  return kGoOn;
}

// The payload of the walk over FETCH_HEAD.
struct FetchHeadContext {
  GitModule* git;
  git_repository* repo;
};

int merge_entry(const FetchHeadContext& context, HostPool* pool, const char* name, const char* url,
                const git_oid* id) {
  Held<git_annotated_commit> theirs(context.git);
  if (required(GIT(context.git, git_annotated_commit_from_fetchhead), &theirs.it, context.repo,
               name, url, id) < 0) {
    return kGoOn;
  }
  return answer_to(merge_into_head({.git = context.git,
                                    .pool = pool,
                                    .repo = context.repo,
                                    .theirs = theirs.it,
                                    .their_id = id,
                                    .their_name = kTheirName,
                                    .our_label = kOurLabel,
                                    .their_label = kTheirLabel,
                                    .committer = kCommitter,
                                    .email = kEmail}));
}

int git_repository_fetchhead_foreach_cb(const char* name, const char* url, const git_oid* id,
                                        unsigned is_merge, void* payload) {
  // An entry without a name comes from a detached HEAD, and nothing is merged into that.
  if (is_merge != 1 || !name) return kGoOn;
  HostPool* pool = create_pool(kFetchHeadPool);
  const int code = merge_entry(*static_cast<const FetchHeadContext*>(payload), pool, name, url, id);
  pool->destroy(pool);
  return code;
}

void pull(const RepoCall& call) {
  const Origin origin(call, {.user = 1, .certificate = 5});
  if (!origin.is_ready) return;
  const char* branch = current_branch(call, origin);
  if (!branch) return;
  origin.credentials.trust_certificate_file();
  const int code = fetch_from(call, origin, branch);
  if (code < 0) return fail_transfer(call, code);
  FetchHeadContext context = {call, call.repo.it};
  *call.result = if_found(GIT(call, git_repository_fetchhead_foreach), call.repo.it,
                          git_repository_fetchhead_foreach_cb, &context);
}

}  // namespace

int do_pull(const HostArgumentBlock* arguments, double* result) {
  const RepoCall call(kPull, arguments, result);
  if (call.is_ready()) pull(call);
  return 0;
}

}  // namespace uwugit
