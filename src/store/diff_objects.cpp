#include "store/diff_objects.h"

#include <initializer_list>

#include "module/pool.h"
#include "module/upper_case.h"
#include "store/list_index.h"
#include "store/object_list.h"

namespace uwugit {

DiffObject* headDiffObject = nullptr;
DiffObject* workingDiffObject = nullptr;

namespace {

constexpr int kFreed = 0;
constexpr int kPoolNotDestroyed = 1;

// What the store keeps behind each record, so that reading costs the same at any length.
struct StoredDiffObject : DiffObject {
  ListIndex<DiffFileObject> index;
};

StoredDiffObject* stored(DiffObject* diff) { return static_cast<StoredDiffObject*>(diff); }

}  // namespace

DiffObject* createNewDiffObject(char* key1, char* key2, char* key3) {
  HostPool* pool = create_pool(key1);
  auto* diff = static_cast<StoredDiffObject*>(pool->allocate(pool, sizeof(StoredDiffObject), 0));
  *diff = {};
  diff->key1 = key1;
  diff->key2 = key2;
  diff->key3 = key3;
  diff->pool = pool;
  return diff;
}

DiffObject* insertDiffObjectAtHead(char* key1, char* key2, char* key3) {
  DiffObject* diff = createNewDiffObject(key1, key2, key3);
  link_at_head(&headDiffObject, diff);
  return diff;
}

DiffObject* insertDiffObjectAtTail(char* key1, char* key2, char* key3) {
  DiffObject* diff = createNewDiffObject(key1, key2, key3);
  link_at_tail(&headDiffObject, diff);
  return diff;
}

void own_keys(DiffObject* diff) {
  for (char** key : {&diff->key1, &diff->key2, &diff->key3}) {
    *key = copy_text(diff->pool, *key, wzstlen(*key));
  }
}

bool has_keys(const DiffObject* diff, const char* key1, const char* key2, const char* key3) {
  return is_same_text(diff->key1, key1) && is_same_text(diff->key2, key2) &&
         is_same_text(diff->key3, key3);
}

DiffObject* findDiffObject(char* key1, char* key2, char* key3) {
  for (char* key : {key1, key2, key3}) toUpperCase(key);
  for (DiffObject* diff = headDiffObject; diff; diff = diff->next) {
    if (!diff->key1 || !diff->key2 || !diff->key3) return nullptr;
    if (has_keys(diff, key1, key2, key3)) return diff;
  }
  return nullptr;
}

int free_diffObject(char* key1, char* key2, char* key3) {
  DiffObject* diff = findDiffObject(key1, key2, key3);
  workingDiffObject = nullptr;  // a later read must not meet what is freed here
  if (!diff || !diff->pool) return kFreed;
  unlink(&headDiffObject, diff);
  HostPool* pool = diff->pool;
  return pool->destroy(pool) == 0 ? kFreed : kPoolNotDestroyed;
}

void insertDiffFileObjectAtHead(DiffFileObject* file) {
  DiffObject* diff = workingDiffObject;
  if (diff->firstFile) {
    diff->firstFile->prev = file;
    file->next = diff->firstFile;
  } else {
    diff->firstFile = file;
  }
  stored(diff)->index.is_current = false;
}

void insertDiffFileObjectAtTail(DiffFileObject* file) {
  DiffObject* diff = workingDiffObject;
  stored(diff)->index.is_current = false;
  if (!diff->lastFile && diff->firstFile) {  // the list was begun at its head: no last file yet
    link_at_tail(&diff->firstFile, file);
    return;
  }
  file->next = nullptr;
  file->prev = diff->lastFile;
  (diff->lastFile ? diff->lastFile->next : diff->firstFile) = file;
  diff->lastFile = file;
}

DiffFileObject* findDiffFileObject(const char* name) {
  DiffFileObject* file = workingDiffObject->firstFile;
  while (file && file->name && !is_same_text(file->name, name)) file = file->next;
  return file && file->name ? file : nullptr;
}

DiffFileObject* diff_file(DiffObject* diff, std::int64_t number) {
  return stored(diff)->index.at(number, diff->firstFile, diff->pool);
}

}  // namespace uwugit
