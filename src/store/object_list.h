// What the stores have in common. Their objects stand in a doubly linked list headed by a module
// global, own a pool, and are found by walking forwards; an object's own records stand in such a
// list as well.
//
// Each store offers the whole set of routines. No operation calls those named …AtHead,
// findCommitGraphNode and findDiffFileObject; they stay because the set is not complete without
// them.
#pragma once

#include <string_view>

#include "module/arguments.h"
#include "module/pool.h"
#include "support/strings.h"

namespace uwugit {

// A new object, all zero but for its pool, from which its memory comes. `Stored` is an object with
// what the store keeps behind it.
template <class Stored>
Stored* new_object(HostPool* pool) {
  auto* object = static_cast<Stored*>(pool->allocate(pool, sizeof(Stored), 0));
  *object = {};
  object->pool = pool;
  return object;
}

// The same for a repository, whose path is copied.
template <class Stored>
Stored* new_object_of(std::string_view path, HostPool* pool) {
  char* copy = copy_text(pool, path.data(), path.size());
  auto* object = new_object<Stored>(pool);
  object->path = copy;
  object->path_length = path.size();
  return object;
}

// Puts a record in front of the first one, which stays the first; in an empty list it becomes that.
template <class Record>
void link_before_first(Record** first, Record* record) {
  if (!*first) {
    *first = record;
    return;
  }
  (*first)->prev = record;
  record->next = *first;
}

template <class Record>
Record* link_at_head(Record** head, Record* record) {
  link_before_first(head, record);
  return *head = record;
}

template <class Record>
Record* link_at_tail(Record** head, Record* record) {
  if (!*head) return *head = record;
  Record* last = *head;
  while (last->next) last = last->next;
  last->next = record;
  record->prev = last;
  record->next = nullptr;
  return record;
}

// Appends to a list whose owner knows the last record as well, except when it was begun by
// link_before_first: then it never gets to know one.
template <class Record>
void append(Record** first, Record** last, Record* record) {
  if (*last) {
    *last = link_at_tail(last, record);
  } else if (*first) {
    link_at_tail(first, record);
  } else {
    *first = *last = record;
    record->next = record->prev = nullptr;
  }
}

// The first record with that key, trailing blanks insignificant, or null. The walk ends at a record
// without a key.
template <auto key, class Record>
Record* find_by(std::string_view wanted, Record* first) {
  Record* record = first;
  while (record && record->*key && !is_same_text(record->*key, wanted)) record = record->next;
  return record && record->*key ? record : nullptr;
}

// The object of that path, made the working one, or null. A path ends at its NUL, but comparing the
// working object with all of it needs no measuring.
template <class Stored, class Object>
Object* select_by_path(Object** working, Object* head, const PoolText& path) {
  if (auto* object = static_cast<Stored*>(*working)) {
    const std::string_view known(object->path, object->path_length);
    if (is_same_text(known, {path.text, path.length})) return object;
  }
  return *working = find_by<&Object::path>(path.text, head);
}

template <class Object>
void unlink(Object** head, Object* object) {
  if (object->prev) {
    object->prev->next = object->next;
  } else {
    *head = object->next;
  }
  if (object->next) object->next->prev = object->prev;
}

// What freeing answers when it did not free. It answers 0 when it did.
struct FreeingCodes {
  int not_found;
  int pool_not_destroyed;
};

// Takes an object, which may be null, out of the list and destroys its pool with all that is in it.
template <class Object>
int free_object(Object** head, Object** working, Object* object, FreeingCodes codes) {
  *working = nullptr;  // a later read must not meet what is freed here
  if (!object || !object->pool) return codes.not_found;
  unlink(head, object);
  HostPool* pool = object->pool;
  return pool->destroy(pool) == 0 ? 0 : codes.pool_not_destroyed;
}

}  // namespace uwugit
