// SPDX-License-Identifier: GPL-3.0-or-later
#include "compare/DiffEdits.h"

namespace moorix {

void DiffEdits::setRead(DiffSide side, const QString &text)
{
    Text &here = at(side);
    if (here.text != text) {
        m_steps.clear();
        m_done = 0;
    }
    here = {text, text};
}

void DiffEdits::apply(const TextChange &change)
{
    m_steps.resize(m_done);
    m_steps.append(change);
    redo();
}

std::optional<DiffSide> DiffEdits::undo()
{
    if (!canUndo())
        return std::nullopt;
    const TextChange &step = m_steps.at(--m_done);
    at(step.side).text = step.takenFrom(at(step.side).text);
    return step.side;
}

std::optional<DiffSide> DiffEdits::redo()
{
    if (!canRedo())
        return std::nullopt;
    const TextChange &step = m_steps.at(m_done++);
    at(step.side).text = step.appliedTo(at(step.side).text);
    return step.side;
}

} // namespace moorix
