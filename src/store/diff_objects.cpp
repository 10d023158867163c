#include "store/diff_objects.h"

#include <initializer_list>

#include "module/upper_case.h"
#include "store/list_index.h"
#include "store/name_index.h"
#include "store/object_list.h"

namespace uwugit {

DiffObject* headDiffObject = nullptr;
DiffObject* workingDiffObject = nullptr;

namespace {

// What the store keeps behind each object, so that adding and reading cost the same at any length.
struct StoredDiffObject : DiffObject {
  ListIndex<DiffFileObject> index;
  NameIndex<DiffFileObject> names;
  OpenDiffFile open;
};

StoredDiffObject* stored(DiffObject* diff) { return static_cast<StoredDiffObject*>(diff); }

void upper_case(char* key1, char* key2, char* key3) {
  for (char* key : {key1, key2, key3}) toUpperCase(key);
}

bool has_keys(const DiffObject* diff, const char* key1, const char* key2, const char* key3) {
  return is_same_text(diff->key1, key1) && is_same_text(diff->key2, key2) &&
         is_same_text(diff->key3, key3);
}

}  // namespace

DiffObject* createNewDiffObject(char* key1, char* key2, char* key3) {
  DiffObject* diff = new_object<StoredDiffObject>(create_pool(key1));
  diff->key1 = key1;
  diff->key2 = key2;
  diff->key3 = key3;
  return diff;
}

DiffObject* insertDiffObjectAtHead(char* key1, char* key2, char* key3) {
  return link_at_head(&headDiffObject, createNewDiffObject(key1, key2, key3));
}

DiffObject* insertDiffObjectAtTail(char* key1, char* key2, char* key3) {
  return link_at_tail(&headDiffObject, createNewDiffObject(key1, key2, key3));
}

void own_keys(DiffObject* diff) {
  for (char** key : {&diff->key1, &diff->key2, &diff->key3}) {
    *key = copy_text(diff->pool, *key, wzstlen(*key));
  }
}

DiffObject* findDiffObject(char* key1, char* key2, char* key3) {
  upper_case(key1, key2, key3);
  for (DiffObject* diff = headDiffObject; diff; diff = diff->next) {
    if (!diff->key1 || !diff->key2 || !diff->key3) return nullptr;
    if (has_keys(diff, key1, key2, key3)) return diff;
  }
  return nullptr;
}

DiffObject* select_diff(char* key1, char* key2, char* key3) {
  upper_case(key1, key2, key3);
  if (workingDiffObject && has_keys(workingDiffObject, key1, key2, key3)) return workingDiffObject;
  return workingDiffObject = findDiffObject(key1, key2, key3);
}

int free_diffObject(char* key1, char* key2, char* key3) {
  return free_object(&headDiffObject, &workingDiffObject, findDiffObject(key1, key2, key3),
                     {.not_found = 0, .pool_not_destroyed = 1});
}

void insertDiffFileObjectAtHead(DiffFileObject* file) {
  DiffObject* diff = workingDiffObject;
  stored(diff)->index.is_current = false;
  link_before_first(&diff->firstFile, file);
}

void insertDiffFileObjectAtTail(DiffFileObject* file) {
  DiffObject* diff = workingDiffObject;
  stored(diff)->index.is_current = false;
  append(&diff->firstFile, &diff->lastFile, file);
}

DiffFileObject* findDiffFileObject(std::string_view name) {
  return find_by<&DiffFileObject::name>(name, workingDiffObject->firstFile);
}

MeasuredDiffFile* file_named(DiffObject* diff, std::string_view name) {
  return static_cast<MeasuredDiffFile*>(
      stored(diff)->names.find(name, diff->firstFile, diff->pool));
}

const MeasuredDiffFile* diff_file(DiffObject* diff, std::int64_t number) {
  return static_cast<MeasuredDiffFile*>(
      stored(diff)->index.at(number, diff->firstFile, diff->pool));
}

OpenDiffFile* open_file(DiffObject* diff) { return &stored(diff)->open; }

}  // namespace uwugit
