// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>
#include <QStringList>

#include <memory>
#include <vector>

namespace moorix {

class FileService;
class PaneModel;
class PaneOperations;

/// What was under way in a tab that has been closed, as a deletion: it goes on to its end, and its failures are told.
/// Main thread; what has not ended is broken off with this object.
class LeftOperations final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/FileService.h")

public:
    explicit LeftOperations(QObject *parent = nullptr);
    ~LeftOperations() override;

    /// Takes over what is under way or waits in a file list that goes, if anything.
    void takeFrom(PaneModel &pane);
    /// Descriptions of what is under way ("Deleting 3 items").
    QStringList current() const;

signals:
    /// That something goes on, or has ended well.
    void messageRaised(const QString &sentence);
    /// One sentence for each entry that could not be treated.
    void failed(const QString &description, const QStringList &failures);
    /// One has ended that worked in this folder.
    void folderChanged(const moorix::FileService *service, const QStringList &folders);

private:
    void follow(PaneOperations &operations);

    std::vector<std::unique_ptr<PaneOperations>> m_operations;
};

} // namespace moorix
