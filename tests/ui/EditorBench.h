// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "WindowBench.h"

#include "ui/editor/EditorView.h"

#include <QDir>

namespace moorix::test {

using namespace Qt::StringLiterals;

/// The whole program, with files in its editor.
struct EditorBench : WindowBench
{
    using WindowBench::WindowBench;

    EditorView *view() const { return find<EditorView>("editorView"); }
    QByteArray text() const { return view() ? view()->content() : QByteArray("nothing is open"); }
    void open(const char *name) const
    {
        activateList(Side::left);
        select(Side::left, name);
        key(Qt::Key_F4);
        const QString title = QString::fromUtf8(name) + u" — Moorix"_s;
        QTRY_COMPARE(window->windowTitle(), title);
        QTRY_COMPARE(QApplication::focusWidget(), view());
    }
    void type(const char *text) const { QTest::keyClicks(QApplication::focusWidget(), QLatin1String(text)); }
    void save() const { key(Qt::Key_S, Qt::ControlModifier); }
    QString label(const char *name) const
    {
        const auto *label = find<QLabel>(name);
        return label ? label->text() : QString();
    }
    QString button(const char *name) const
    {
        const auto *button = find<QPushButton>(name);
        return button ? button->text() : QString();
    }
    QPushButton *choice(const char *text) const
    {
        for (QPushButton *button : window->findChildren<QPushButton *>()) {
            if (button->isVisible() && button->text() == QLatin1String(text))
                return button;
        }
        return nullptr;
    }
    QStringList unsaved() const
    {
        return QDir(home.path("data/Moorix/unsaved")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }
};

} // namespace moorix::test
