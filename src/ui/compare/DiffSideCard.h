// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/DiffLoader.h"

#include <QFrame>

class QLabel;
class QPushButton;

namespace moorix {

class ElidedLabel;

/// One of two compared files: where it is, what is known of it, and whether it has changes that are not saved.
class DiffSideCard final : public QFrame
{
    Q_OBJECT

public:
    /// `place` is the name of its server, or empty for this computer.
    DiffSideCard(DiffSide side, const QString &place, const FileItem &file, QWidget *parent = nullptr);

    void showFile(const DiffContent::Side &side);
    void setChanged(bool isChanged);
    /// Being written at the moment.
    void setSaving(bool isSaving);

signals:
    void saveRequested();

private:
    void showState();

    ElidedLabel *m_facts;
    QLabel *m_mark;
    QPushButton *m_save;
    bool m_isChanged = false;
    bool m_isSaving = false;
};

} // namespace moorix
