// The commit logs of repositories, kept between calls: one RepoLog per repository path with the
// list of its CommitGraphNode records. A log lives in the pool of the call that built it and owns
// that pool.
#pragma once

#include <string_view>

#include "support/strings.h"
#include "uwugit/records.h"

namespace uwugit {

extern RepoLog* headLogObject;  // the first object, or null
// The object that the current operation works on: set by get_commit_log, by lookups and by the
// free, which clears it together with its object.
extern RepoLog* workingRepoLogObject;

// All paths are NUL-terminated and copied into the pool.
RepoLog* createNewRepoLogObject(HostPool* pool, const char* path);  // not linked
RepoLog* insertRepoLogAtHead(HostPool* pool, const char* path);
RepoLog* insertRepoLogAtTail(HostPool* pool, const char* path);

// The first object of that path (case-sensitive, trailing blanks insignificant), or null.
RepoLog* findRepoLogObject(const char* path);

// Frees the object of that path with all its nodes: 0, also when there is none; 1 when its pool
// could not be destroyed.
int free_repo_log(const char* path);

// Nodes of workingRepoLogObject, which must be set.
//
// A node put at the head of a list that is not empty is linked in front of the first one, which
// stays the first: a walk from the first, a search and the numbers do not meet it.
void insertCommitGraphNodeAtHead(CommitGraphNode* node);
void insertCommitGraphNodeAtTail(CommitGraphNode* node);
CommitGraphNode* findCommitGraphNode(const char* id);  // by a walk; null when there is none

// Whether the object is that of a path, as findRepoLogObject compares.
bool is_log_of(RepoLog* log, std::string_view path);

// The node with that number, counted from 1, or null. Costs the same for every number.
CommitGraphNode* log_entry(RepoLog* log, std::int64_t number);

// Starts fetching that node of workingRepoLogObject, if it is set, from memory.
void prefetch_log_entry(std::int64_t number);

}  // namespace uwugit
