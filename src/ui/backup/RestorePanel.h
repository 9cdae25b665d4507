// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "transfers/TransferConflict.h"

#include <QFrame>

class QBoxLayout;
class QComboBox;
class QLineEdit;
class QPushButton;

namespace moorix {

/// Where entries of an archive go, and what becomes of files that are there already.
class RestorePanel final : public QFrame
{
    Q_OBJECT

public:
    explicit RestorePanel(const QString &folder, QWidget *parent = nullptr);

    QString folder() const;
    /// Never `ask`.
    TransferConflictPolicy policy() const;
    void setSelected(qsizetype count);
    QSize minimumSizeHint() const override;

signals:
    void restoreSelectedRequested();
    void restoreAllRequested();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    void browse();

    QLineEdit *m_folder;
    QComboBox *m_policy;
    QPushButton *m_selected;
    QBoxLayout *m_how;
};

} // namespace moorix
