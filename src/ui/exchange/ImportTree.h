// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/exchange/ImportRow.h"

#include <QHash>
#include <QTreeWidget>

namespace moorix {

/// The rows of an import, grouped by what becomes of them; when merging each new, differing or known one with a check
/// box, and each group with one for all of its own.
class ImportTree final : public QTreeWidget
{
    Q_OBJECT

public:
    explicit ImportTree(QWidget *parent = nullptr);

    /// How settings are called, by key; others show their key.
    void setSettingLabels(QHash<QString, QString> labels) { m_settingLabels = std::move(labels); }
    void show(const QList<ImportRow> &rows, const ImportChoice &choice);
    const ImportChoice &choice() const { return m_choice; }

signals:
    void choiceChanged();

private:
    QTreeWidgetItem *addGroup(const QList<ImportRow> &rows);
    void addRow(QTreeWidgetItem &group, const ImportRow &row);
    void followCheck(QTreeWidgetItem *item, int column);
    void takeCheck(QTreeWidgetItem &item);
    void checkGroup(QTreeWidgetItem &group);

    QHash<QString, QString> m_settingLabels;
    ImportChoice m_choice;
};

} // namespace moorix
