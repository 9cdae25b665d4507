// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

namespace moorix {

class WindowActions;

/// All commands that have keys, as the menus group them. Shown with `show()`; deletes itself.
class ShortcutsOverview final : public QDialog
{
    Q_OBJECT

public:
    explicit ShortcutsOverview(const WindowActions &actions, QWidget *parent = nullptr);
};

} // namespace moorix
