// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

namespace moorix {

/// The program's version, licence, and what it is built on. Deletes itself.
class AboutDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit AboutDialog(QWidget *parent = nullptr);
};

} // namespace moorix
