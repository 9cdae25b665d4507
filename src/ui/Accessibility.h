// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QSplitter;
class QWidget;

/// What assistive tools are told beyond what widgets say of themselves.
namespace moorix::Accessibility {

/// Gives the fields of all forms in `page` the name of their row, also those that share a row with others or stand
/// inside another widget. A field that has a name keeps it.
void nameFields(const QWidget &page);
/// Has screen readers go through the parts in the order they stand in, which a splitter reverses. Call it again when
/// they change places.
void readInOrder(const QSplitter &splitter);

} // namespace moorix::Accessibility
