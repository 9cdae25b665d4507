// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/ComparedFile.h"
#include "app/Comparison.h"
#include "base/Job.h"
#include "compare/DiffEdits.h"
#include "compare/DiffLoader.h"

#include <QObject>

#include <array>
#include <functional>
#include <memory>
#include <optional>

namespace moorix {

/// One comparison from reading both files to saving what was put together from them. Everything that takes time is done
/// in the background, and given up with the session. A text that has changes is never dropped by reading its file anew.
/// Main thread.
class ComparisonSession final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("files/FileService.h")

public:
    struct Environment
    {
        /// Where versions lie on their way to a server.
        QString root;
        /// The service that reaches a server now; null where there is none.
        std::function<std::shared_ptr<FileService>(const QUuid &server)> live;
    };
    using Guard = comparedFile::Guard;
    using Outcome = comparedFile::Outcome;

    ComparisonSession(Comparison comparison, Environment environment, QObject *parent = nullptr);

    const Comparison &comparison() const { return m_comparison; }
    /// Null before both files have been read.
    const std::shared_ptr<const DiffContent> &content() const { return m_content; }
    /// Files are read or compared.
    bool isBusy() const { return m_isBusy; }

    /// Reads both files anew, except one with changes that are not saved.
    void reload();
    void setOptions(const DiffOptions &options);
    /// Takes the lines of a change of the content over to a side. False where that changes nothing, since lines differ
    /// by their ends only.
    bool copy(const DiffLayout::Hunk &hunk, DiffSide to);
    /// The side that the step changes; nothing where there is none.
    std::optional<DiffSide> undo();
    std::optional<DiffSide> redo();
    const DiffEdits &edits() const { return m_edits; }

    /// Writes a side's text. Nothing happens while it is being written.
    void save(DiffSide side, Guard guard = Guard::known);
    bool isSaving(DiffSide side) const { return m_isSaving[indexOf(side)]; }
    /// Of a side's file, for sentences.
    QString nameOf(DiffSide side) const;

signals:
    void contentChanged();
    /// Nothing could be compared, and why.
    void failed(const QString &sentence);
    /// A step was done or undone, or a save has begun or ended.
    void editsChanged();
    void saved(moorix::DiffSide side);
    void saveFailed(moorix::DiffSide side, const QString &reason);
    /// Nothing was written, since somebody else has written or removed the file.
    void changedMeanwhile(moorix::DiffSide side, bool isGone);
    /// A file was written in this folder.
    void folderChanged(const moorix::FileService *service, const QStringList &folders);

private:
    static std::size_t indexOf(DiffSide side) { return side == DiffSide::left ? 0 : 1; }
    std::shared_ptr<FileService> serviceOf(DiffSide side) const;
    bool reads(DiffSide side) const;
    void work();
    void followStep(const std::optional<DiffSide> &changed);
    void takeOver(DiffContent content, const std::array<bool, 2> &wasRead);
    void finishSaving(DiffSide side, Outcome outcome, const QString &text);

    Comparison m_comparison;
    Environment m_environment;
    DiffOptions m_options;
    std::shared_ptr<const DiffContent> m_content;
    DiffEdits m_edits;
    std::array<bool, 2> m_mustRead{true, true};
    std::array<bool, 2> m_isSaving{};
    bool m_isBusy = false;
    Job m_work;
    std::array<std::shared_ptr<comparedFile::Leftover>, 2> m_leftovers{std::make_shared<comparedFile::Leftover>(),
                                                                       std::make_shared<comparedFile::Leftover>()};
    std::array<Job, 2> m_savings;
};

} // namespace moorix
