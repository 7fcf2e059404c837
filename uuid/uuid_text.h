// The text form of a UUID: pure functions over records and characters.

#ifndef ORLA_UUID_UUID_TEXT_H
#define ORLA_UUID_UUID_TEXT_H

#include <orla/uuid.h>

#include <optional>

namespace orla {

// Writes 36 characters and a terminator; returns 36. The record may lie in the buffer.
int put_uuid_text(const k7_uuid__t &uuid, char *out);

// Both read a text; none where it does not have the form.
//
// The canonical form alone: hexadecimal digits of either case, and dots, each in its place. Nothing
// after the 36th character is looked at, and no byte after a terminator is read.
std::optional<k7_uuid__t> read_canonical_uuid_text(const char *text);
// Everything that sscanf() accepts, the canonical form included. Leaves `errno` alone.
std::optional<k7_uuid__t> read_formatted_uuid_text(const char *text);

}  // namespace orla

#endif
