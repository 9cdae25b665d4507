// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"
#include "files/FileItem.h"

#include <QDialog>
#include <QList>
#include <QTimer>

#include <memory>

class QCheckBox;
class QFormLayout;
class QLabel;
class QPushButton;

namespace moorix {

class PaneModel;
class PermissionsEditor;
struct FolderTally;

/// What is known about entries, with their permissions to change. Shown beside the window, never in its way. Main
/// thread; folders are counted in the background.
class InfoDialog final : public QDialog
{
    Q_OBJECT

public:
    InfoDialog(PaneModel &pane, QList<FileItem> items, QWidget *parent);
    ~InfoDialog() override;

    static void open(PaneModel &pane, const QList<FileItem> &items, QWidget *parent);

private:
    QWidget *makeHead();
    void addFacts(QFormLayout &form);
    QWidget *makeSize();
    QWidget *makePermissions();
    void startCounting();
    void stopCounting();
    void showTally(bool isComplete);
    void fitHeight();
    void apply();

    PaneModel &m_pane;
    QList<FileItem> m_items;
    bool m_hasFolder;
    QLabel *m_size;
    QPushButton *m_count;
    PermissionsEditor *m_permissions;
    QCheckBox *m_recursive;
    QPushButton *m_apply;
    std::shared_ptr<FolderTally> m_tally;
    QTimer m_tallyTimer;
    Job m_counting;
};

} // namespace moorix
