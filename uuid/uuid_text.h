// The text form of a UUID: pure functions over records and characters.

#ifndef ORLA_UUID_UUID_TEXT_H
#define ORLA_UUID_UUID_TEXT_H

#include <orla/uuid.h>

namespace orla {

inline constexpr int kUuidTextLength = ORLA_UUID_TEXT_SIZE - 1;

// Writes 36 characters and a terminator.
void put_uuid_text(char *out, const k7_uuid__t &uuid);

// Both read a text into a record. False, with the record untouched, when it does not have the form.
//
// The canonical form alone: hexadecimal digits of either case, and dots, each in its place. What stands
// behind the 36th character is not looked at. Not a byte behind a terminator is read.
bool read_canonical_uuid_text(const char *text, k7_uuid__t &uuid);
// All that formatted input takes, the canonical form included.
bool read_formatted_uuid_text(const char *text, k7_uuid__t &uuid);

}  // namespace orla

#endif
