// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/terminal/TerminalSessionManager.h"

#include "files/Format.h"
#include "settings/SettingsStore.h"
#include "terminal/TerminalLocalEcho.h"
#include "ui/Theme.h"
#include "ui/terminal/TerminalView.h"

#include <QFont>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <array>
#include <utility>

namespace moorix {

namespace {

QColor colorOr(const std::optional<QString> &hex, Theme::Color role)
{
    return hex ? QColor(*hex) : Theme::color(role);
}

/// The system's fixed-pitch font where the chosen one is missing; the view sees to that.
QFont fontOf(const TerminalSessionManager::Style &style)
{
    QFont font = Theme::monospace();
    if (!style.fontName.isEmpty())
        font.setFamilies(QStringList{style.fontName} + font.families());
    // Points of the screen, as those of all text in the window.
    font.setPixelSize(std::max(qRound(style.fontSize), 1));
    return font;
}

} // namespace

struct TerminalSessionManager::Session
{
    Session() = default;
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session() { delete view.data(); }

    /// Null once somebody else has destroyed it.
    QPointer<TerminalView> view;
    std::unique_ptr<Runner> runner;
    Host host = Host::dock;
    bool isMoving = false;
    bool isInPane = false;
    bool wasLaunched = false;
};

TerminalSessionManager::TerminalSessionManager(SettingsStore &settings, Runner::Environment environment,
                                               QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_environment(std::move(environment))
{
    connect(&settings, &SettingsStore::settingChanged, this, [this](const QString &key) {
        if (key.startsWith(QLatin1String("terminal")) || key == m_settings.themeID.key())
            // The program's own theme is applied in answer to the same signal.
            QMetaObject::invokeMethod(this, &TerminalSessionManager::restyle, Qt::QueuedConnection);
    });
}

TerminalSessionManager::~TerminalSessionManager() = default;

TerminalSessionManager::Style TerminalSessionManager::style() const
{
    const TerminalTheme &theme = TerminalThemeCatalog::theme(m_settings.terminalThemeID.value());
    return {.fontSize = m_settings.terminalFontSize.value(),
            .fontName = m_settings.terminalFontName.value(),
            .terminalTheme = theme,
            .background = colorOr(theme.backgroundHex, Theme::Color::base),
            .foreground = colorOr(theme.foregroundHex, Theme::Color::text),
            .cursor = colorOr(theme.cursorHex, Theme::Color::accent),
            .gpu = m_settings.terminalGPURenderer.value(),
            .localEcho = m_settings.terminalLocalEcho.value()};
}

TerminalView &TerminalSessionManager::view(const ServerConnection &server, const Style &style, const QString &folder)
{
    if (has(server.id)) {
        applyStyle(style, *session(server.id).view, *session(server.id).runner);
        return *session(server.id).view;
    }
    auto made = std::make_unique<Session>();
    made->view = new TerminalView;
    Runner::Environment environment = m_environment;
    if (server.id != ServerConnection::localTerminalID)
        environment.remoteFolder = folder;
    else if (!folder.isEmpty())
        environment.localFolder = folder;
    made->runner = std::make_unique<Runner>(server, std::move(environment));
    Session &session = *made;
    m_sessions.emplace(server.id, std::move(made));
    m_order += server.id;
    follow(server.id, session);
    applyStyle(style, *session.view, *session.runner);
    // Once layouts have given the view its size, so that the program starts with that.
    QTimer::singleShot(0, session.runner.get(), [this, id = server.id, &session] {
        session.wasLaunched = true;
        session.runner->launch(*session.view);
        emit sessionChanged(id);
    });
    emit sessionsChanged();
    return *session.view;
}

void TerminalSessionManager::follow(const QUuid &server, Session &session)
{
    TerminalView &view = *session.view;
    Runner *runner = session.runner.get();
    const auto tell = [this, server] { emit sessionChanged(server); };
    connect(&view, &TerminalView::processEnded, runner, [&view, runner, tell] {
        runner->processEnded(view);
        tell();
    });
    connect(&view, &TerminalView::restartRequested, this, [this, server] { restart(server); });
    connect(&view, &TerminalWidget::fontSizeStepped, this, &TerminalSessionManager::stepFontSize);
    connect(&view, &TerminalWidget::linkActivated, this, &TerminalSessionManager::linkActivated);
    connect(&view, &TerminalWidget::folderActivated, this,
            [this, server](const QString &path, const QString &host) { emit folderActivated(server, path, host); });
    connect(&view, &TerminalWidget::filesOffered, this,
            [this, server](const QMimeData &files) { emit filesOffered(server, files); });
    connect(&view.emulator(), &TerminalEmulator::titleChanged, this, tell);
    connect(runner, &Runner::started, this, tell);
    connect(runner, &Runner::failed, this, tell);
}

void TerminalSessionManager::applyStyle(const Style &style, TerminalView &view, Runner &runner)
{
    view.setTerminalFont(fontOf(style));
    TerminalColors colors = view.colors();
    colors.foreground = style.foreground;
    colors.background = style.background;
    colors.cursor = style.cursor;
    // The program's own theme has two sets of letters.
    const bool isDark = style.background.lightnessF() < 0.5F;
    const QString palette = style.terminalTheme.id + (isDark ? QStringLiteral("/dark") : QStringLiteral("/light"));
    if (runner.installedPaletteID != palette) {
        const auto &ansi = style.terminalTheme.ansiHex;
        std::ranges::transform(ansi ? *ansi : TerminalThemeCatalog::appAnsi(isDark), colors.ansi.begin(),
                               [](const QString &hex) { return QColor(hex); });
        runner.installedPaletteID = palette;
    }
    if (colors != view.colors())
        view.setColors(colors);
    if (style.gpu != view.desiredGPU())
        view.setDesiredGPU(style.gpu);
    if (style.localEcho != view.localEcho().isEnabled())
        view.localEcho().setEnabled(style.localEcho);
}

void TerminalSessionManager::restyle()
{
    const Style wanted = style();
    for (const auto &[server, session] : m_sessions)
        applyStyle(wanted, *session->view, *session->runner);
}

/// The setting keeps to its bounds by itself.
void TerminalSessionManager::stepFontSize(int step)
{
    Setting<double> &size = m_settings.terminalFontSize;
    size.set(step == 0 ? size.fallBack() : size.value() + step);
}

const ServerConnection &TerminalSessionManager::serverOf(const QUuid &server) const
{
    return session(server).runner->server();
}

const Runner &TerminalSessionManager::runnerOf(const QUuid &server) const
{
    return *session(server).runner;
}

TerminalView &TerminalSessionManager::viewOf(const QUuid &server) const
{
    return *session(server).view;
}

void TerminalSessionManager::terminate(const QUuid &server)
{
    const auto found = m_sessions.find(server);
    if (found == m_sessions.end())
        return;
    // The view may be inside a signal of its own.
    const std::unique_ptr<Session> ended = std::move(found->second);
    m_sessions.erase(found);
    m_order.removeOne(server);
    TerminalView *view = ended->view;
    ended->view.clear();
    view->disconnect();
    view->emulator().disconnect(this);
    view->hide();
    view->setParent(nullptr);
    view->dropProcess();
    view->deleteLater();
    ended->runner->disconnect();
    emit sessionsChanged();
}

void TerminalSessionManager::restart(const QUuid &server)
{
    if (!has(server))
        return;
    Session &known = session(server);
    if (known.view->isRunning())
        return;
    known.runner->launch(*known.view);
    emit sessionChanged(server);
}

QString TerminalSessionManager::titleOf(const QUuid &server) const
{
    const Session &known = session(server);
    const QString title = Format::display(known.view->emulator().title());
    if (known.runner->isLocal()) {
        return tr("local shell — ") +
               (title.isEmpty() ? Format::display(known.runner->localShell().section(u'/', -1)) : title);
    }
    const QString name = Format::display(known.runner->server().displayName());
    return title.isEmpty() ? name : tr("%1 — %2").arg(name, title);
}

bool TerminalSessionManager::isBusy(const QUuid &server) const
{
    TerminalView &view = *session(server).view;
    if (!view.isRunning())
        return false;
    return session(server).runner->isLocal() ? view.hasForegroundProgram() : !view.isAtEmptyPrompt();
}

bool TerminalSessionManager::hasEnded(const QUuid &server) const
{
    const Session &known = session(server);
    return known.wasLaunched && !known.runner->launched() && !known.view->isRunning();
}

bool TerminalSessionManager::isHost(Host host, const QUuid &server) const
{
    return has(server) && session(server).host == host;
}

void TerminalSessionManager::setHost(Host host, const QUuid &server)
{
    if (!has(server) || session(server).host == host)
        return;
    session(server).host = host;
    emit sessionsChanged();
}

void TerminalSessionManager::markMoving(const QUuid &server, bool isMoving)
{
    if (has(server))
        session(server).isMoving = isMoving;
}

bool TerminalSessionManager::isMoving(const QUuid &server) const
{
    return has(server) && session(server).isMoving;
}

void TerminalSessionManager::setInPane(const QUuid &server, bool isInPane)
{
    if (!has(server) || session(server).isInPane == isInPane)
        return;
    session(server).isInPane = isInPane;
    emit sessionsChanged();
}

bool TerminalSessionManager::isInPane(const QUuid &server) const
{
    return has(server) && session(server).isInPane;
}

} // namespace moorix
