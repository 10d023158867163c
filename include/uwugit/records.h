// The result records that stay in the module between calls. A record and all it points to live in
// the pool of the object that owns it, and end with that pool.
#pragma once

#include "uwugit/host_abi.h"

namespace uwugit {

// One changed file of a working tree.
struct GitStatusEntry {
  char* path;           // relative to the working tree, NUL-terminated
  const char* status;   // a constant word: "new", "modified", "deleted", ...
  std::int32_t staged;  // kStaged or kNotStaged
  GitStatusEntry* next;
  GitStatusEntry* prev;
};
static_assert(offsetof(GitStatusEntry, status) == 8);
static_assert(offsetof(GitStatusEntry, staged) == 16);
static_assert(offsetof(GitStatusEntry, next) == 24);
static_assert(offsetof(GitStatusEntry, prev) == 32);
inline constexpr std::int32_t kStaged = 0;
inline constexpr std::int32_t kNotStaged = -1;

// The status of one repository.
struct RepoStatus {
  char* path;  // of the repository, as the caller wrote it
  HostPool* pool;
  GitStatusEntry* entries;
  RepoStatus* next;
  RepoStatus* prev;
};
static_assert(offsetof(RepoStatus, pool) == 8);
static_assert(offsetof(RepoStatus, entries) == 16);
static_assert(offsetof(RepoStatus, next) == 24);
static_assert(offsetof(RepoStatus, prev) == 32);

// One commit of a log. The texts are NUL-terminated.
struct CommitGraphNode {
  const char* id;  // 40 lower-case hexadecimal characters
  const char* message;
  const char* authorName;
  const char* authorEmail;
  const char* committerName;
  const char* committerEmail;
  const char* stash;            // "TRUE" for the commit of the latest stash
  const char* inCurrentBranch;  // "TRUE" for HEAD and its ancestors
  std::int32_t inCurrentBranchState;
  std::int64_t time;         // of the committer, in seconds since 1970
  std::int32_t graphColumn;  // kept for a drawing of the history; nothing reads it
  CommitGraphNode** parents;
  CommitGraphNode** children;  // the walked commits that name this one as a parent
  std::uint32_t parentCount;
  std::uint32_t childCount;
  CommitGraphNode* next;
  CommitGraphNode* prev;
};
static_assert(offsetof(CommitGraphNode, message) == 8);
static_assert(offsetof(CommitGraphNode, authorName) == 16);
static_assert(offsetof(CommitGraphNode, authorEmail) == 24);
static_assert(offsetof(CommitGraphNode, committerName) == 32);
static_assert(offsetof(CommitGraphNode, committerEmail) == 40);
static_assert(offsetof(CommitGraphNode, stash) == 48);
static_assert(offsetof(CommitGraphNode, inCurrentBranch) == 56);
static_assert(offsetof(CommitGraphNode, inCurrentBranchState) == 64);
static_assert(offsetof(CommitGraphNode, time) == 72);
static_assert(offsetof(CommitGraphNode, graphColumn) == 80);
static_assert(offsetof(CommitGraphNode, parents) == 88);
static_assert(offsetof(CommitGraphNode, children) == 96);
static_assert(offsetof(CommitGraphNode, parentCount) == 104);
static_assert(offsetof(CommitGraphNode, childCount) == 108);
static_assert(offsetof(CommitGraphNode, next) == 112);
static_assert(offsetof(CommitGraphNode, prev) == 120);
inline constexpr std::int32_t kBranchUnknown = -1;
inline constexpr std::int32_t kNotInCurrentBranch = 0;
inline constexpr std::int32_t kInCurrentBranch = 1;

// The log of one repository.
struct RepoLog {
  char* path;      // of the repository, as the caller wrote it
  HostPool* pool;  // of the call that built the log, which the log owns from then on
  CommitGraphNode* first;
  CommitGraphNode* last;
  RepoLog* next;
  RepoLog* prev;
};
static_assert(offsetof(RepoLog, pool) == 8);
static_assert(offsetof(RepoLog, first) == 16);
static_assert(offsetof(RepoLog, last) == 24);
static_assert(offsetof(RepoLog, next) == 32);
static_assert(offsetof(RepoLog, prev) == 40);

// One changed file of a diff.
struct DiffFileObject {
  char* name;              // its path on the new side, NUL-terminated
  char* content;           // JSON records, one for each line of the patch, NUL-terminated
  const char* changeType;  // a constant word: "ADDED", "DELETED" or "MODIFIED"; null for any other
  DiffFileObject* next;
  DiffFileObject* prev;
};
static_assert(offsetof(DiffFileObject, name) == 0);
static_assert(offsetof(DiffFileObject, content) == 8);
static_assert(offsetof(DiffFileObject, changeType) == 16);
static_assert(offsetof(DiffFileObject, next) == 24);
static_assert(offsetof(DiffFileObject, prev) == 32);

// One diff: of two commits of a repository, or of its working tree.
struct DiffObject {
  char* key1;  // the repository's path, upper-cased like the other two
  char* key2;  // the first commit's id as the caller wrote it, or "INDEX"
  char* key3;  // the second commit's id as the caller wrote it, or "WORKDIR"
  HostPool* pool;
  DiffFileObject* firstFile;
  DiffFileObject* lastFile;
  std::int64_t extra;  // the number of files
  DiffObject* next;
  DiffObject* prev;
};
static_assert(offsetof(DiffObject, key3) == 16);
static_assert(offsetof(DiffObject, pool) == 24);
static_assert(offsetof(DiffObject, firstFile) == 32);
static_assert(offsetof(DiffObject, lastFile) == 40);
static_assert(offsetof(DiffObject, extra) == 48);
static_assert(offsetof(DiffObject, next) == 56);
static_assert(offsetof(DiffObject, prev) == 64);

}  // namespace uwugit
