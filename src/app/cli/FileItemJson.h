// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/FileItem.h"

namespace moorix {

class JsonWriter;

/// One object whose keys are the field names; what is unknown is written as null.
void writeJson(JsonWriter &writer, const FileItem &item);

} // namespace moorix
