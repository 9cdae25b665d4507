// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

class QLineEdit;
class QListWidget;
class QToolButton;

namespace moorix {

class SettingsStore;

/// Puts the toolbar together: what there is on the left, what is shown on the right, moved by dragging, by buttons or
/// by keys. Each change is in force at once.
class ToolBarEditor final : public QWidget
{
    Q_OBJECT

public:
    explicit ToolBarEditor(SettingsStore &settings, QWidget *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QListWidget *makeList(const QString &objectName, const QString &name);
    QWidget *makeColumn(QListWidget *list, QWidget *head);
    QWidget *makeButtons();
    QToolButton *addButton(QWidget &holder, const QString &iconName, const QString &text, const QString &objectName,
                           void (ToolBarEditor::*press)());
    void refresh();
    void fill(QListWidget &list, const QStringList &names);
    void filterAvailable();
    void updateButtons();
    void store(const QStringList &shown);
    void takeOver();
    QStringList shown() const;
    void add();
    void remove();
    void moveUp() { move(-1); }
    void moveDown() { move(1); }
    void move(int step);

    SettingsStore &m_settings;
    QLineEdit *m_search;
    QListWidget *m_available;
    QListWidget *m_shown;
    QToolButton *m_add = nullptr;
    QToolButton *m_remove = nullptr;
    QToolButton *m_up = nullptr;
    QToolButton *m_down = nullptr;
    /// The lists are being filled; their signals say nothing about the user.
    bool m_isFilling = false;
};

} // namespace moorix
