// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAccessibleWidget>

namespace moorix {

class TerminalTranscript;
class TerminalWidget;

/// A terminal as screen readers see it: a text with a cursor, made of the screen and the lines right above it. Places
/// are counted in UTF-16 units; the screen's coordinates are the desktop's.
class TerminalAccessible final : public QAccessibleWidget, public QAccessibleTextInterface
{
public:
    /// From here on terminals are given this interface. Must be called before Qt has made a plain one for a terminal,
    /// which it does as soon as the terminal gets a name; more than once does no harm.
    static void install();

    explicit TerminalAccessible(TerminalWidget &terminal);

    void *interface_cast(QAccessible::InterfaceType type) override;
    QAccessible::State state() const override;

    int characterCount() const override;
    QString text(int start, int end) const override;
    using QAccessibleWidget::text;
    /// Lines are rows of the terminal; paragraphs are what was one line for the program.
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override;
    QString textAtOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override;
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override;
    int cursorPosition() const override;
    /// Does nothing: the cursor is the program's.
    void setCursorPosition(int position) override;

    int selectionCount() const override;
    void selection(int index, int *start, int *end) const override;
    void addSelection(int start, int end) override;
    void removeSelection(int index) override;
    void setSelection(int index, int start, int end) override;

    /// Empty for what is not in sight.
    QRect characterRect(int offset) const override;
    int offsetAtPoint(const QPoint &point) const override;
    void scrollToSubstring(int start, int end) override;
    /// Bold, italic and underlined text; all that looks the same is one run within a row.
    QString attributes(int offset, int *start, int *end) const override;

private:
    TerminalWidget &terminal() const;
    const TerminalTranscript &transcript() const;
    QString row(int inside, int *start, int *end) const;
};

} // namespace moorix
