// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalPopoutController.h"

#include "base/Json.h"
#include "ui/ElidedLabel.h"
#include "ui/Theme.h"
#include "ui/Widgets.h"
#include "ui/WindowStyle.h"
#include "ui/terminal/SSHTerminalView.h"
#include "ui/terminal/TerminalSessionManager.h"
#include "ui/terminal/TerminalView.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace moorix {

namespace {

constexpr int releaseWatchMilliseconds = 50;
/// Qt does not tell whether a button is down outside its own windows; a window that rests has been let go.
constexpr int restMilliseconds = 300;
/// Window managers place a new window by moving it.
constexpr int placingMilliseconds = 500;
constexpr int animationMilliseconds = 180;

} // namespace

TerminalPopoutController::TerminalPopoutController(TerminalSessionManager &sessions, const ServerConnection &server,
                                                   QWidget &mainWindow)
    : QWidget(nullptr, Qt::Window)
    , m_sessions(sessions)
    , m_server(server)
    , m_mainWindow(mainWindow)
    , m_container(new SSHTerminalView(sessions, server, {.docked = false, .showsHeader = false}, this))
    , m_title(new ElidedLabel(Qt::ElideMiddle, this))
{
    setObjectName(u"MoorixTerminalWindow-"_s + uuidText(server.id));
    setStyleSheet(windowStyleSheet());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(m_container, 1);
    resize(820, 520);
    m_releaseWatch.setInterval(releaseWatchMilliseconds);
    connect(&m_releaseWatch, &QTimer::timeout, this, &TerminalPopoutController::checkRelease);
    connect(m_container, &SSHTerminalView::titleChanged, this, &TerminalPopoutController::followTitle);
    m_sinceShown.start();
    followTitle();
}

TerminalPopoutController::~TerminalPopoutController()
{
    hideHint();
    m_container->disconnect(this);
}

QWidget *TerminalPopoutController::makeHeader()
{
    auto *header = new QWidget(this);
    header->setObjectName(u"terminalHeader"_s);
    header->setAttribute(Qt::WA_StyledBackground);
    m_title->setObjectName(u"terminalTitle"_s);
    m_title->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    QPushButton *attach = Widgets::button(tr("Attach Back"), u"attachBack"_s, header);
    attach->setToolTip(tr("Move this terminal back into the main window"));
    attach->setIcon(Theme::icon(u"go-bottom"_s));
    attach->setFocusPolicy(Qt::NoFocus);
    connect(attach, &QPushButton::clicked, this, [this] { emit attachRequested(serverID()); });
    auto *row = new QHBoxLayout(header);
    row->setContentsMargins(12, 5, 6, 5);
    row->setSpacing(8);
    row->addWidget(m_title, 1);
    row->addWidget(m_container->buttons());
    row->addWidget(attach);
    return header;
}

void TerminalPopoutController::followTitle()
{
    m_title->setText(m_container->title());
    setWindowTitle(tr("%1 — Moorix").arg(m_container->title()));
}

void TerminalPopoutController::trackShake(double now, double x)
{
    m_shakeArmed = m_shakeSamples.trackShake(now, x) || m_shakeArmed;
    showHint();
    m_sinceMove.start();
    startReleaseWatch();
}

void TerminalPopoutController::moveEvent(QMoveEvent *event)
{
    QWidget::moveEvent(event);
    if (isVisible() && m_sinceShown.elapsed() > placingMilliseconds && m_mainWindow.isVisible())
        trackShake(double(m_sinceShown.elapsed()) / 1000, pos().x());
}

void TerminalPopoutController::startReleaseWatch()
{
    if (!m_releaseWatch.isActive())
        m_releaseWatch.start();
}

void TerminalPopoutController::checkRelease()
{
    if (m_sinceMove.elapsed() < restMilliseconds)
        return;
    m_releaseWatch.stop();
    m_shakeSamples.reset();
    hideHint();
    if (m_shakeArmed)
        animateAttachBack();
    m_shakeArmed = false;
}

void TerminalPopoutController::showHint()
{
    if (!m_hintWindow) {
        m_hintWindow = new QLabel(&m_mainWindow);
        m_hintWindow->setObjectName(u"shakeHint"_s);
        m_hintWindow->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    m_hintWindow->setText(m_shakeArmed ? tr("Release to attach terminal") : tr("Shake to attach back"));
    Widgets::setStyleProperty(*m_hintWindow, "armed", m_shakeArmed);
    m_hintWindow->adjustSize();
    m_hintWindow->move((m_mainWindow.width() - m_hintWindow->width()) / 2, m_mainWindow.height() * 3 / 4);
    m_hintWindow->show();
    m_hintWindow->raise();
}

void TerminalPopoutController::hideHint()
{
    delete m_hintWindow.data();
}

void TerminalPopoutController::animateAttachBack()
{
    const auto attach = [this] { emit attachRequested(serverID()); };
    if (style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) == 0) {
        attach();
        return;
    }
    auto *animation = new QPropertyAnimation(this, "geometry", this);
    const QRect frame = m_mainWindow.geometry();
    animation->setDuration(animationMilliseconds);
    animation->setEasingCurve(QEasingCurve::InOutCubic);
    animation->setEndValue(QRect(frame.left(), frame.bottom() - frame.height() / 3, frame.width(), frame.height() / 3));
    // The way there is no shake.
    m_sinceShown.start();
    connect(animation, &QPropertyAnimation::finished, this, attach);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void TerminalPopoutController::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    // Another theme: the colours of the window's own parts are in its own sheet.
    if (event->type() == QEvent::StyleChange && styleSheet() != windowStyleSheet())
        QMetaObject::invokeMethod(
            this, [this] { setStyleSheet(windowStyleSheet()); }, Qt::QueuedConnection);
}

/// Closing the window closes the terminal, as the button does.
void TerminalPopoutController::closeEvent(QCloseEvent *event)
{
    event->ignore();
    m_container->requestClose();
}

} // namespace moorix
