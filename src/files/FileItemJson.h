// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

namespace moorix {

class JsonReader;
class JsonWriter;

/// One object whose keys are the field names; what is unknown is written as null.
void writeJson(JsonWriter &writer, const FileItem &item);
/// Throws an Error that names a required key when it is missing or of another type; only what may be unknown is
/// optional.
FileItem fileItemFromJson(const JsonReader &reader);

} // namespace moorix
