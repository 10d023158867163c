// Diffs, kept between calls: one DiffObject per repository path and pair of commits, each with its
// own pool and the list of its DiffFileObject records.
#pragma once

#include <cstddef>
#include <string_view>

#include "uwugit/records.h"

namespace uwugit {

extern DiffObject* headDiffObject;  // the first object, or null
// The object that the current operation works on: set by a new diff, by lookups and by the free,
// which clears it together with its object.
extern DiffObject* workingDiffObject;

// What is kept beside the record of a file, so that neither a further line nor a read measures the
// content.
struct MeasuredDiffFile : DiffFileObject {
  std::size_t content_length;
};

// Where the lines of a diff go as they come. Both null: no line came yet.
struct OpenDiffFile {
  MeasuredDiffFile* file;  // that of the latest line
  char* buffer;            // holds its content
};

// The keys are NUL-terminated. They are stored as they are, not copied, so they must live as long
// as the object; the object's pool takes its name from key1.
DiffObject* createNewDiffObject(char* key1, char* key2, char* key3);  // not linked
DiffObject* insertDiffObjectAtHead(char* key1, char* key2, char* key3);
DiffObject* insertDiffObjectAtTail(char* key1, char* key2, char* key3);

// Moves the object's keys into its own pool, where they live exactly as long as it does.
void own_keys(DiffObject* diff);

// The first object of these keys, or null. Upper-cases the caller's keys in place, but no stored
// ones: only an object whose keys were upper-cased before can be found.
DiffObject* findDiffObject(char* key1, char* key2, char* key3);

// The same, made the working object. Costs no search when it is that already.
DiffObject* select_diff(char* key1, char* key2, char* key3);

// Finds the object in the same way and frees it with all its files: 0, also when there is none; 1
// when its pool could not be destroyed.
int free_diffObject(char* key1, char* key2, char* key3);

// Files of workingDiffObject, which must be set. The records come from its pool.
//
// A record put at the head of a list that is not empty is linked in front of the first one, which
// stays the first: a walk from the first, a search and the numbers do not meet it.
void insertDiffFileObjectAtHead(DiffFileObject* file);
void insertDiffFileObjectAtTail(DiffFileObject* file);
// The first file of that name (trailing blanks insignificant), by a walk; null when there is none.
DiffFileObject* findDiffFileObject(std::string_view name);

// The same without a walk, where files keep their names.
MeasuredDiffFile* file_named(DiffObject* diff, std::string_view name);

// The file with that number, counted from 1, or null. Costs the same for every number.
const MeasuredDiffFile* diff_file(DiffObject* diff, std::int64_t number);

OpenDiffFile* open_file(DiffObject* diff);

}  // namespace uwugit
