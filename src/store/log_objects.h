// The histories of repositories, kept between calls: one RepoLog per repository path with the list
// of its CommitGraphNode records. A history lives in the pool of the call that built it and owns
// that pool.
#pragma once

#include <string_view>

#include "module/arguments.h"
#include "uwugit/records.h"

namespace uwugit {

extern RepoLog* headLogObject;  // the first object, or null
// The object that the current operation works on: set by get_commit_log, by lookups and by the
// free, which clears it together with its object.
extern RepoLog* workingRepoLogObject;

// All paths are copied into the pool.
RepoLog* createNewRepoLogObject(HostPool* pool, std::string_view path);  // not linked
RepoLog* insertRepoLogAtHead(HostPool* pool, std::string_view path);
RepoLog* insertRepoLogAtTail(HostPool* pool, std::string_view path);

// The first object of that path (case-sensitive, trailing blanks insignificant), or null.
RepoLog* findRepoLogObject(std::string_view path);

// The same, made the working object. Costs no search when it is that already.
RepoLog* select_history(const PoolText& path);

// Frees the object of that path with all its nodes: 0, also when there is none; 1 when its pool
// could not be destroyed.
int free_repo_log(std::string_view path);

// Nodes of workingRepoLogObject, which must be set.
//
// A node put at the head of a list that is not empty is linked in front of the first one, which
// stays the first: a walk from the first, a search and the numbers do not meet it.
void insertCommitGraphNodeAtHead(CommitGraphNode* node);
void insertCommitGraphNodeAtTail(CommitGraphNode* node);
CommitGraphNode* findCommitGraphNode(std::string_view id);  // by a walk; null when there is none

// The same as insertCommitGraphNodeAtTail for any history.
void append_node(RepoLog* history, CommitGraphNode* node);

// The node with that number, counted from 1, or null. Costs the same for every number.
CommitGraphNode* history_entry(RepoLog* history, std::int64_t number);

// Starts fetching that node of workingRepoLogObject, if it is set, from memory.
void prefetch_history_entry(std::int64_t number);

}  // namespace uwugit
