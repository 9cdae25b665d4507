// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/Job.h"

#include <QLineEdit>
#include <QTimer>

#include <memory>

class QCompleter;
class QStringListModel;

namespace moorix {

class FileService;
class PaneModel;

/// A line for typing a path, which offers the folders that fit as soon as the pane's service has listed them. Main
/// thread; nothing here waits for the service.
class PathEdit final : public QLineEdit
{
    Q_OBJECT

public:
    explicit PathEdit(PaneModel &pane, QWidget *parent = nullptr);

    /// The text as a path: "~" stands for the home folder of a local pane, and what is no absolute path starts at the
    /// folder shown.
    QString path() const;

signals:
    void accepted(const QString &path);
    void cancelled();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void offerFolders();
    void offerNothing();
    void setFolders(const QString &folder, const QStringList &names);

    PaneModel &m_pane;
    QCompleter *m_completer;
    QStringListModel *m_offers;
    QTimer m_pause;
    /// The folder whose subfolders are offered.
    QString m_listedFolder;
    Job m_listing;
};

} // namespace moorix
