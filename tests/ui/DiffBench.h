// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "WindowBench.h"

#include "ui/compare/DiffView.h"

namespace moorix::test {

/// The whole program, with comparisons in it.
struct DiffBench : WindowBench
{
    using WindowBench::WindowBench;

    void select(Side side, const QStringList &names) const
    {
        QSet<QString> paths;
        for (const QString &name : names)
            paths << pane(side)->currentPath() + u'/' + name;
        pane(side)->setSelection(paths);
    }
    void compare() const
    {
        activateList(Side::left);
        key(Qt::Key_M, Qt::ControlModifier);
    }
    /// Whether both have been compared, as they are by now.
    bool isAt(const char *added, const char *removed) const
    {
        return text("diffAdded") == QString::fromUtf8(added) && text("diffRemoved") == QString::fromUtf8(removed);
    }
    DiffView *view() const { return find<DiffView>("diffView"); }
    QString text(const char *name) const
    {
        const auto *label = find<QLabel>(name);
        return label ? label->text() : QString();
    }
};

/// 40 numbered lines, some of them replaced.
inline QByteArray numbered(const QHash<int, QByteArray> &others = {})
{
    QByteArray text;
    for (int i = 1; i <= 40; ++i)
        text += others.value(i, "line " + QByteArray::number(i)) + '\n';
    return text;
}

} // namespace moorix::test
