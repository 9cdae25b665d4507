// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ComparisonSession.h"

#include "files/Format.h"

namespace moorix {

namespace {

/// A side as it is now: its text may have changed since it was read.
DiffContent::Side withText(DiffContent::Side side, const QString &text)
{
    if (!side.encoding || side.text.text() == text)
        return side;
    side.text = DiffText(text);
    return side;
}

} // namespace

ComparisonSession::ComparisonSession(Comparison comparison, Environment environment, QObject *parent)
    : QObject(parent)
    , m_comparison(std::move(comparison))
    , m_environment(std::move(environment))
{
}

QString ComparisonSession::nameOf(DiffSide side) const
{
    return Format::display(side == DiffSide::left ? m_comparison.pair.a.name : m_comparison.pair.b.name);
}

/// The server may have been connected anew.
std::shared_ptr<FileService> ComparisonSession::serviceOf(DiffSide side) const
{
    const bool isLeft = side == DiffSide::left;
    const QUuid server = isLeft ? m_comparison.leftServer : m_comparison.rightServer;
    std::shared_ptr<FileService> live = server.isNull() ? nullptr : m_environment.live(server);
    return live ? live : isLeft ? m_comparison.pair.leftService : m_comparison.pair.rightService;
}

void ComparisonSession::reload()
{
    m_mustRead = {true, true};
    work();
}

void ComparisonSession::setOptions(const DiffOptions &options)
{
    m_options = options;
    work();
}

bool ComparisonSession::reads(DiffSide side) const
{
    return !m_content || (m_mustRead[indexOf(side)] && !m_edits.isChanged(side));
}

void ComparisonSession::work()
{
    DiffPair pair = m_comparison.pair;
    pair.leftService = serviceOf(DiffSide::left);
    pair.rightService = serviceOf(DiffSide::right);
    const std::array<bool, 2> reading{reads(DiffSide::left), reads(DiffSide::right)};
    m_isBusy = true;
    m_work = runJob(
        [pair, reading, content = m_content, options = m_options, left = m_edits.text(DiffSide::left),
         right = m_edits.text(DiffSide::right)](const std::stop_token &stop) {
            if (reading[0] && reading[1])
                return DiffLoader::load(pair, options, stop);
            return DiffLoader::compare(
                reading[0] ? DiffLoader::read(*pair.leftService, pair.a, stop) : withText(content->left, left),
                reading[1] ? DiffLoader::read(*pair.rightService, pair.b, stop) : withText(content->right, right),
                options, stop);
        },
        [this, reading](DiffContent content) { takeOver(std::move(content), reading); },
        [this](const Error &error) {
            m_isBusy = false;
            emit failed(error.message());
        });
}

void ComparisonSession::takeOver(DiffContent content, const std::array<bool, 2> &wasRead)
{
    m_isBusy = false;
    for (const DiffSide side : {DiffSide::left, DiffSide::right}) {
        if (!wasRead[indexOf(side)])
            continue;
        m_edits.setRead(side, content.side(side).text.text());
        m_mustRead[indexOf(side)] = false;
    }
    m_content = std::make_shared<const DiffContent>(std::move(content));
    emit contentChanged();
    emit editsChanged();
}

bool ComparisonSession::copy(const DiffLayout::Hunk &hunk, DiffSide to)
{
    const TextChange change = hunkCopy(m_content->left.text, m_content->right.text, hunk, to);
    if (change.isNothing())
        return false;
    m_edits.apply(change);
    emit editsChanged();
    work();
    return true;
}

std::optional<DiffSide> ComparisonSession::undo()
{
    const std::optional<DiffSide> changed = m_edits.undo();
    followStep(changed);
    return changed;
}

std::optional<DiffSide> ComparisonSession::redo()
{
    const std::optional<DiffSide> changed = m_edits.redo();
    followStep(changed);
    return changed;
}

void ComparisonSession::followStep(const std::optional<DiffSide> &changed)
{
    if (!changed)
        return;
    emit editsChanged();
    work();
}

void ComparisonSession::save(DiffSide side, Guard guard)
{
    if (!m_content || !m_content->side(side).encoding || isSaving(side))
        return;
    const bool isLeft = side == DiffSide::left;
    const DiffContent::Side &known = m_content->side(side);
    comparedFile::Saving saving{serviceOf(side),
                                isLeft ? m_comparison.leftServer : m_comparison.rightServer,
                                isLeft ? m_comparison.leftPlace : m_comparison.rightPlace,
                                known.file,
                                *known.encoding,
                                m_edits.saved(side),
                                m_edits.text(side),
                                guard,
                                m_environment.root,
                                m_leftovers[indexOf(side)]};
    m_isSaving[indexOf(side)] = true;
    emit editsChanged();
    m_savings[indexOf(side)] =
        runJob([saving](const std::stop_token &stop) { return comparedFile::save(saving, stop); },
               [this, side, text = saving.after](Outcome outcome) { finishSaving(side, outcome, text); },
               [this, side](const Error &error) {
                   m_isSaving[indexOf(side)] = false;
                   emit editsChanged();
                   emit saveFailed(side, error.message());
               });
}

void ComparisonSession::finishSaving(DiffSide side, Outcome outcome, const QString &text)
{
    m_isSaving[indexOf(side)] = false;
    if (outcome != Outcome::sent) {
        emit editsChanged();
        emit changedMeanwhile(side, outcome == Outcome::goneThere);
        return;
    }
    m_edits.setSaved(side, text);
    m_mustRead[indexOf(side)] = true;
    emit editsChanged();
    const QString &path = side == DiffSide::left ? m_comparison.pair.a.path : m_comparison.pair.b.path;
    emit folderChanged(serviceOf(side).get(), {Format::parent(path)});
    work();
    emit saved(side);
}

} // namespace moorix
