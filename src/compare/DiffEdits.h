// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "compare/HunkCopy.h"

#include <QList>

#include <array>
#include <optional>

namespace moorix {

/// Two texts, what they were when they were last read or saved, and the steps between. Main thread.
class DiffEdits final
{
public:
    /// A file was read. Where it does not hold the text, it is the text now, and no step can be undone any more.
    void setRead(DiffSide side, const QString &text);
    /// A file was written; the text may have gone on since.
    void setSaved(DiffSide side, const QString &text) { at(side).saved = text; }
    const QString &text(DiffSide side) const { return at(side).text; }
    const QString &saved(DiffSide side) const { return at(side).saved; }
    bool isChanged(DiffSide side) const { return at(side).text != at(side).saved; }
    bool isChanged() const { return isChanged(DiffSide::left) || isChanged(DiffSide::right); }

    void apply(const TextChange &change);
    bool canUndo() const { return m_done > 0; }
    bool canRedo() const { return m_done < m_steps.size(); }
    /// The side that it changes; nothing, and nothing is done, where there is no such step.
    std::optional<DiffSide> undo();
    std::optional<DiffSide> redo();

private:
    struct Text
    {
        QString text;
        QString saved;
    };

    const Text &at(DiffSide side) const { return m_texts[side == DiffSide::left ? 0 : 1]; }
    Text &at(DiffSide side) { return m_texts[side == DiffSide::left ? 0 : 1]; }

    std::array<Text, 2> m_texts;
    QList<TextChange> m_steps;
    qsizetype m_done = 0;
};

} // namespace moorix
