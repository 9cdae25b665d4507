// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ui/Theme.h"
#include "ui/terminal/TerminalWidget.h"

#include <QClipboard>
#include <QTest>
#include <QVBoxLayout>

namespace moorix::test {

/// A terminal in a window, with what it sends to its program and what it tells its owner.
class TerminalBench : public QObject
{
protected:
    std::unique_ptr<QWidget> m_window;
    TerminalWidget *m_terminal = nullptr;
    QByteArray m_output;
    QByteArray m_typed;

    TerminalEmulator &emulator() { return m_terminal->emulator(); }
    QByteArray output() { return std::exchange(m_output, {}); }
    void feed(const QByteArray &bytes) { emulator().feed(bytes); }
    QPoint at(int row, double column)
    {
        const TerminalGeometry &geometry = m_terminal->geometry();
        const QRectF cell = geometry.rect({geometry.top + row, 0});
        return QPointF(cell.x() + column * cell.width(), cell.center().y()).toPoint();
    }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {})
    {
        QWidget *view = m_terminal->viewport();
        QTest::mousePress(view, Qt::LeftButton, modifiers, from);
        move(to, Qt::LeftButton, modifiers);
        QTest::mouseRelease(view, Qt::LeftButton, modifiers, to);
    }
    void move(QPoint to, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers)
    {
        QMouseEvent event(QEvent::MouseMove, to, m_terminal->viewport()->mapToGlobal(to), Qt::NoButton, buttons,
                          modifiers);
        QApplication::sendEvent(m_terminal->viewport(), &event);
    }
    void wheel(int notches, Qt::KeyboardModifiers modifiers = {})
    {
        QWheelEvent event(at(1, 1), m_terminal->viewport()->mapToGlobal(at(1, 1)), {}, {0, 120 * notches}, {},
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(m_terminal->viewport(), &event);
    }
    /// The view as it is once the last output is on it.
    QImage painted()
    {
        QTest::qWait(40);
        return m_terminal->viewport()->grab().toImage();
    }
    QRect cell(int row, int column, int width = 1)
    {
        return m_terminal->geometry().rect({m_terminal->geometry().top + row, column}, width).toRect();
    }
    template <class Widget>
    Widget *find(const QString &name)
    {
        return m_terminal->findChild<Widget *>(name);
    }
    QString selected() { return m_terminal->selection().text(); }

    void open()
    {
        Theme::apply(*qApp, QStringLiteral("midnight"), 13);
        QApplication::clipboard()->clear();
        m_window = std::make_unique<QWidget>();
        auto *layout = new QVBoxLayout(m_window.get());
        layout->setContentsMargins({});
        m_terminal = new TerminalWidget;
        layout->addWidget(m_terminal);
        m_window->resize(700, 400);
        connect(&emulator(), &TerminalEmulator::output, this, [this](const QByteArray &bytes) { m_output += bytes; });
        connect(m_terminal, &TerminalWidget::typed, this, [this](const QByteArray &bytes) { m_typed += bytes; });
        m_window->show();
        m_window->activateWindow();
        m_terminal->setFocus();
        QTRY_VERIFY(m_terminal->hasFocus());
        m_output.clear();
        m_typed.clear();
    }
    void close() { m_window.reset(); }
};

} // namespace moorix::test
