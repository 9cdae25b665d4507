// SPDX-License-Identifier: GPL-3.0-or-later
// Terminals in the window.
#include "servers/ServerStore.h"
#include "ui/MainWindow.h"
#include "ui/Sidebar.h"
#include "ui/terminal/WindowTerminals.h"

#include <QAction>

namespace moorix {

void MainWindow::addTerminalCommands()
{
    using enum WindowCommand;
    m_handlers[terminal] = [this] { m_terminals->showDock(m_actions->action(WindowCommand::terminal)->isChecked()); };
    m_handlers[terminalInSide] = [this] { m_terminals->openInSide(); };
    m_handlers[terminalToFolder] = [this] {
        if (const auto server = m_terminals->currentTerminal())
            m_terminals->goToPaneFolder(*server);
        else
            emit m_model.messageRaised(tr("No terminal is shown."));
    };
    m_handlers[folderOfTerminal] = [this] {
        if (const auto server = m_terminals->currentTerminal())
            m_terminals->openTerminalFolder(*server);
        else
            emit m_model.messageRaised(tr("No terminal is shown."));
    };
}

void MainWindow::connectTerminals()
{
    connect(m_terminals.get(), &WindowTerminals::dockShownChanged, m_actions->action(WindowCommand::terminal),
            &QAction::setChecked);
    connect(m_sidebar, &Sidebar::terminalRequested, this, [this](const QUuid &id) {
        if (const auto server = m_model.servers().server(id))
            m_terminals->open(*server);
    });
}

} // namespace moorix
