// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "editor/TextSearch.h"

#include <QFrame>

class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace moorix {

/// The lines below a text in which something is looked for and replaced.
class EditorFindBar final : public QFrame
{
    Q_OBJECT

public:
    explicit EditorFindBar(QWidget *parent = nullptr);

    /// Shows it, with `text` unless that is empty.
    void open(const QString &text, bool replaces, bool mayReplace);
    TextSearch::Query query() const;
    QString replacement() const;
    void showCount(const QString &text, bool hasFailed);

signals:
    void queryChanged();
    void stepRequested(bool isBackward);
    void replaceRequested();
    void replaceAllRequested();
    void closed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QToolButton *addOption(const QString &text, const QString &toolTip, const QString &objectName);

    QLineEdit *m_needle;
    QLabel *m_count;
    QToolButton *m_case;
    QToolButton *m_words;
    QToolButton *m_pattern;
    QLineEdit *m_replacement;
    QWidget *m_replacing;
    QPushButton *m_replace;
    QPushButton *m_replaceAll;
};

} // namespace moorix
