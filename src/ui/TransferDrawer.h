// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>
#include <QHash>
#include <QUuid>

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace moorix {

class TransferEngine;
struct TransferStatus;

/// All transfers since they were last cleared, each with its failures beneath.
class TransferDrawer final : public QFrame
{
    Q_OBJECT

public:
    explicit TransferDrawer(TransferEngine &transfers, QWidget *parent = nullptr);

private:
    void rebuild();
    void update(const QUuid &id);
    void show(const TransferStatus &transfer, QTreeWidgetItem &item);
    void cancelSelected();
    void updateButtons();

    TransferEngine &m_transfers;
    QTreeWidget *m_list;
    QLabel *m_empty;
    QPushButton *m_cancel;
    QPushButton *m_clear;
    QHash<QUuid, QTreeWidgetItem *> m_items;
};

} // namespace moorix
