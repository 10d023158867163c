// What the lists of result objects have in common: doubly linked, headed by a module global, found
// by walking forwards.
#pragma once

#include <string_view>

#include "support/strings.h"
#include "uwugit/host_abi.h"

namespace uwugit {

template <class Object>
void link_at_head(Object** head, Object* object) {
  if (*head) {
    (*head)->prev = object;
    object->next = *head;
  }
  *head = object;
}

template <class Object>
void link_at_tail(Object** head, Object* object) {
  if (!*head) {
    *head = object;
    return;
  }
  Object* last = *head;
  while (last->next) last = last->next;
  last->next = object;
  object->prev = last;
  object->next = nullptr;
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

// Whether two keys are the same, trailing blanks insignificant. They are NUL-terminated or counted.
inline bool is_same_key(std::string_view left, std::string_view right) {
  return wzstcom(left.data(), left.size(), right.data(), right.size()) == 0;
}

}  // namespace uwugit
