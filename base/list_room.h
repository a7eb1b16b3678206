#pragma once

namespace kestrelvisor {

// Makes room for one more element in a repeated field of a message, and returns the field.
//
// A field's own Add makes the element first: it is lost when there is no memory for its place.
template <class Field>
Field& withRoomForOne(Field& field) {
  field.Reserve(field.size() + 1);
  return field;
}

}  // namespace kestrelvisor
