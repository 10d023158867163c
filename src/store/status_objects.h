// The status of repositories, kept between calls: one RepoStatus per repository path, each with its
// own pool and the list of its GitStatusEntry records.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "module/arguments.h"
#include "uwugit/records.h"

namespace uwugit {

extern RepoStatus* headStatus;  // the first object, or null
// The object that the current operation works on: set by get_status, by lookups and by the free,
// which clears it together with its object.
extern RepoStatus* workingRepoStatus;
extern std::int32_t statusCount;  // entries that the latest get_status reported

// All paths are copied into the object's pool.
RepoStatus* createNewRepoStatusObject(std::string_view path);  // not linked
RepoStatus* insertRepoStatusAtHead(std::string_view path);
RepoStatus* insertRepoStatusAtTail(std::string_view path);

// The first object of that path (case-sensitive, trailing blanks insignificant), or null.
RepoStatus* findRepoStatusObject(std::string_view path);

// The same, made the working object. Costs no search when it is that already.
RepoStatus* select_status(const PoolText& path);

// Frees the object of that path with all its entries: 0; 1 when there is none; -2 when its pool
// could not be destroyed.
int free_repo_status(std::string_view path);

// Entries of workingRepoStatus, which must be set. The status word is kept as it is, not copied.
GitStatusEntry* createNewGitStatusEntry(std::string_view path, const char* status,
                                        std::int32_t staged);  // not linked
GitStatusEntry* insertGitStatusEntryAtHead(std::string_view path, const char* status,
                                           std::int32_t staged);
GitStatusEntry* insertGitStatusEntryAtTail(std::string_view path, const char* status,
                                           std::int32_t staged);

// Where the values of an entry stand that programs read: apart from its record, see the source.
struct StatusPlace {
  const char* const* path;
  const char* const* word;
  const std::int32_t* staged;
};

// That of the entry with that number, counted from 1, if there is one. Costs the same for every
// number.
std::optional<StatusPlace> status_entry(RepoStatus* status, std::int64_t number);

// Starts fetching the path of that entry of workingRepoStatus, if it is set, from memory.
void prefetch_status_path(std::int64_t number);

}  // namespace uwugit
