// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/MirroredLibrary.h"

#include "moc_MirroredLibrary.cpp"
