// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/preferences/PreferenceTable.h"

#include <QWidget>

class QHBoxLayout;
class QToolButton;

namespace moorix {

/// The input of one setting. What the user changes is in force at once; `refresh` shows a value changed elsewhere.
class PreferenceControl final : public QWidget
{
    Q_OBJECT

public:
    explicit PreferenceControl(const PreferenceRow &row, QWidget *parent = nullptr);

    const QString &key() const { return m_row.key; }
    void refresh();

signals:
    void changed();

private:
    void addInput(QHBoxLayout &layout);
    QWidget *makeToggle();
    QWidget *makeNumber();
    QWidget *makeChoice();
    QWidget *makeFont();
    QWidget *makeText();
    QWidget *makeFolder();
    void store(const QVariant &value);

    PreferenceRow m_row;
    QToolButton *m_reset;
    /// Brings the input to the stored value.
    std::function<void(const QVariant &)> m_show;
};

} // namespace moorix
