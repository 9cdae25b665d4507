// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/palette/PaletteEntry.h"

#include <QFrame>
#include <QPointer>

class QLabel;
class QLineEdit;
class QListView;
class QMainWindow;

namespace moorix {

class PaletteModel;

/// A field over the window that finds everything by a few letters and runs it. It blocks nothing: it goes as soon as
/// the keyboard goes elsewhere, and gives the keyboard back to who had it when it is closed by Escape or runs
/// something.
class CommandPalette final : public QFrame
{
    Q_OBJECT

public:
    /// Lies over `window`, below its toolbar, and follows its size.
    explicit CommandPalette(QMainWindow &window);

    /// Shows these entries and takes the keyboard. `recent` are ids of what was used last, the latest first.
    void open(QList<PaletteEntry> entries, const QStringList &recent);
    void close();

signals:
    /// The entry of this id is about to run; the palette has closed.
    void chosen(const QString &id);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showMatches(const QString &query);
    void select(int row);
    bool takeKey(int key);
    void runSelected();
    void place();
    void followFocus(const QWidget *now);

    QMainWindow &m_window;
    QLineEdit *m_query;
    QListView *m_list;
    QLabel *m_nothing;
    PaletteModel *m_model = nullptr;
    QPointer<QWidget> m_before;
};

} // namespace moorix
