// What the lists of result objects have in common: doubly linked, headed by a module global, found
// by walking forwards.
#pragma once

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

}  // namespace uwugit
