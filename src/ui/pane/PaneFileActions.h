// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/pane/PaneCommand.h"
#include "ui/pane/PaneContext.h"

#include <QObject>

namespace moorix {

class FileDrop;
struct FileItem;
class PaneModel;

/// What commands do to the selected entries of a pane, apart from anything that is shown. Main thread.
class PaneFileActions final : public QObject
{
    Q_OBJECT

public:
    PaneFileActions(PaneModel &pane, const PaneContext &context, QObject *parent = nullptr);

    /// Whether the command makes sense for what is selected.
    bool isAvailable(PaneCommand command) const;
    /// The same, were these entries selected.
    bool isAvailable(PaneCommand command, const QList<FileItem> &selected) const;
    /// Does the command; those that belong to the view are ignored. The selection is what it acts on.
    void run(PaneCommand command);

signals:
    /// Something is asked before it is done; `confirmed` does it.
    void confirmationWanted(const QString &question, const QString &buttonText, std::function<void()> confirmed);
    /// A sentence about what was done.
    void messageRaised(const QString &sentence);
    /// A sentence about what could not be done.
    void refused(const QString &sentence);

private:
    void open();
    void passFolder(const std::function<void(const FileItem &)> &receiver);
    void pass(const std::function<PaneContext::Refusal()> &action);
    void putOnClipboard(bool isCut);
    bool takeOverCut(const QStringList &paths, const QList<FileItem> &found);
    bool canPaste() const;
    void paste();
    void copyPaths();
    void remove();
    void removeForGood();

    PaneModel &m_pane;
    PaneContext m_context;
    FileDrop *m_arrivals;
};

} // namespace moorix
