// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QHash>
#include <QUuid>

#include <vector>

class QAction;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace moorix {

class TransferEngine;
struct TransferStatus;

/// The queue: what is under way and waits, in the order it runs, then what has ended, the latest first; each with the
/// way it took and its failures beneath. Rows can be copied as text.
class TransferDrawer final : public QFrame
{
    Q_OBJECT

public:
    explicit TransferDrawer(TransferEngine &transfers, QWidget *parent = nullptr);

    /// Gives the keyboard to the list, if there is anything in it.
    void takeKeyboard();
    /// Puts it before the buttons, which come and go with what is selected.
    void addTool(QWidget *tool);

signals:
    /// The folder that this transfer goes to is to be shown.
    void targetRequested(const QUuid &transfer);
    void keyboardReleased();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    /// A button that acts on those selected transfers it applies to.
    struct Command
    {
        QPushButton *button;
        QString text;
        bool (*applies)(const TransferStatus &transfer);
        void (TransferEngine::*run)(const QUuid &id);
    };

    void setUpList();
    void addCommands(QHBoxLayout &row);
    void addCommand(QHBoxLayout &row, const QString &text, const QString &objectName,
                    bool (*applies)(const TransferStatus &), void (TransferEngine::*action)(const QUuid &));
    void rebuild();
    void update(const QUuid &id);
    void show(const TransferStatus &transfer, QTreeWidgetItem &item);
    void showDetails(const TransferStatus &transfer, QTreeWidgetItem &item);
    QList<QUuid> selectedTransfers() const;
    const TransferStatus *find(const QUuid &id) const;
    bool isUseful(const Command &command) const;
    void showMenu(const QPoint &position);
    void copySelected() const;
    void run(const Command &command);
    void updateButtons();
    void updateTotals();

    TransferEngine &m_transfers;
    QTreeWidget *m_list;
    QHBoxLayout *m_head;
    QAction *m_copy;
    QLabel *m_empty;
    QLabel *m_totals;
    QPushButton *m_clear;
    std::vector<Command> m_commands;
    QHash<QUuid, QTreeWidgetItem *> m_items;
};

} // namespace moorix
