// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppModel.h"
#include "app/PaneTabs.h"
#include "app/Session.h"
#include "files/PaneModel.h"
#include "servers/KeychainStore.h"
#include "servers/ServerStore.h"
#include "settings/SettingsStore.h"
#include "support/FakeProcessRunner.h"
#include "support/MemoryKeychain.h"
#include "support/TestMain.h"
#include "ui/MainWindow.h"
#include "ui/SessionView.h"
#include "ui/SideView.h"
#include "ui/pane/FileMimeData.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>

namespace moorix::test {

/// The whole program in a home of its own: the folder "left" is open on the left, "right" on the right, and the
/// library is empty. The clients are answered by the test, secrets stay in memory.
class WindowBench
{
public:
    explicit WindowBench(
        std::initializer_list<TestTree::Entry> entries,
        FakeProcessRunner::Answer answer = [](const ProcessRequest &) { return FakeProcessRunner::success(); })
        : WindowBench(entries, std::make_shared<FakeProcessRunner>(std::move(answer)))
    {
    }
    /// With clients of the test's own.
    WindowBench(std::initializer_list<TestTree::Entry> entries, const std::shared_ptr<ProcessRunner> &clients,
                QString sshProgram = QStringLiteral("/usr/bin/ssh"))
        : home(entries)
        , runner(std::dynamic_pointer_cast<FakeProcessRunner>(clients))
        , keychain(std::make_shared<MemoryKeychain>())
        , m_clients(clients)
        , m_sshProgram(std::move(sshProgram))
    {
        qputenv("HOME", home.path().toUtf8());
        qputenv("XDG_DATA_HOME", home.path("data").toUtf8());
        qputenv("XDG_CONFIG_HOME", home.path("config").toUtf8());
        home.write("left/", {});
        home.write("right/", {});
        home.write("data/Moorix/servers.json", R"({"folders": [], "servers": []})");
        home.write("config/Moorix/preferences.json",
                   QStringLiteral(R"({"window.leftTabs": ["%1"], "window.rightTabs": ["%2"]})")
                       .arg(home.path("left"), home.path("right"))
                       .toUtf8());
        start();
    }
    ~WindowBench() { stop(); }

    void start()
    {
        model = std::make_unique<AppModel>(AppModel::Platform{m_clients, keychain, m_sshProgram});
        window = std::make_unique<MainWindow>(*model);
        window->show();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        for (const Side side : {Side::left, Side::right})
            QTRY_VERIFY(!pane(side) || (!pane(side)->currentPath().isEmpty() && !pane(side)->isLoading()));
    }
    void stop()
    {
        window.reset();
        model.reset();
    }
    /// Ends the program as the user does and starts it again.
    void restart()
    {
        window->close();
        stop();
        start();
    }

    /// What the clients say where nothing listens.
    static ProcessResult refusal(const ProcessRequest &)
    {
        return {255, false, {}, "ssh: connect to host 127.0.0.1 port 22: Connection refused\r\n"};
    }
    /// Saves a server whose host is its name.
    ServerConnection addServer(const QString &name, const std::optional<QUuid> &folder = {}) const
    {
        ServerConnection server = serverAt(name, QStringLiteral("me"));
        server.name = name;
        server.folderID = folder;
        model->servers().upsert(server);
        return server;
    }
    /// Types an address into the bar for connections that are not saved.
    void quickConnect(const char *address) const
    {
        key(Qt::Key_K, Qt::ControlModifier);
        QTest::keyClicks(QApplication::focusWidget(), QLatin1String(address));
        key(Qt::Key_Return);
    }

    PaneModel *pane(Side side) const { return model->tabs(side).current().pane(); }
    void select(Side side, const char *name) const
    {
        pane(side)->setSelection({pane(side)->currentPath() + u'/' + QString::fromUtf8(name)});
    }
    /// A key press for whatever has the keyboard.
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const
    {
        QWidget *target = QApplication::focusWidget();
        QTest::keyClick(target ? target : window.get(), key, modifiers);
    }
    QTreeView *list(Side side) const
    {
        return sideView(side).currentView()->findChild<QTreeView *>(QStringLiteral("fileList"));
    }
    SideView &sideView(Side side) const
    {
        const QList<SideView *> views = window->findChildren<SideView *>();
        return **std::ranges::find(views, side, &SideView::side);
    }
    /// Gives a side's list the keyboard.
    void activateList(Side side) const
    {
        QVERIFY(list(side));
        list(side)->setFocus();
    }
    /// Runs the command whose text begins so, as a click on its entry does.
    static void choose(const QList<QAction *> &actions, const char *text)
    {
        const auto found = std::ranges::find_if(
            actions, [text](const QAction *action) { return action->text().startsWith(QLatin1String(text)); });
        QVERIFY2(found != actions.end(), text);
        (*found)->trigger();
    }
    static void click(QWidget *button)
    {
        QVERIFY(button);
        QTest::mouseClick(button, Qt::LeftButton);
    }
    /// What dropping comes to; without effect where dragging is refused before.
    static Qt::DropAction dropOn(QWidget &target, const QMimeData &data, const QPoint &place)
    {
        const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
        QDragEnterEvent enter(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &enter);
        if (!enter.isAccepted())
            return Qt::IgnoreAction;
        QDragMoveEvent move(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &move);
        QDropEvent drop(place, actions, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&target, &drop);
        return drop.dropAction();
    }
    /// The selection of a side, dropped on the row of the sidebar with this text.
    Qt::DropAction dropOnSidebar(Side from, const QString &row) const
    {
        auto *sidebar = find<QTreeWidget>("sidebar");
        const auto found = sidebar->findItems(row, Qt::MatchExactly | Qt::MatchRecursive);
        return dropOn(*sidebar->viewport(), *dragged(from), sidebar->visualItemRect(found.value(0)).center());
    }
    /// The selection of a side, as dragging it would carry it.
    std::unique_ptr<QMimeData> dragged(Side side) const
    {
        return std::make_unique<FileMimeData>(pane(side)->service(), pane(side)->selectedItems(),
                                              pane(side)->isLocal());
    }
    /// The first visible widget of this name anywhere in the program.
    template <class Widget = QWidget>
    Widget *find(const char *name) const
    {
        for (Widget *widget : window->findChildren<Widget *>(QString::fromLatin1(name))) {
            if (widget->isVisible())
                return widget;
        }
        return nullptr;
    }

    TestTree home;
    /// What was asked of the clients; null when they are the test's own.
    std::shared_ptr<FakeProcessRunner> runner;
    std::shared_ptr<MemoryKeychain> keychain;
    std::unique_ptr<AppModel> model;
    std::unique_ptr<MainWindow> window;

private:
    std::shared_ptr<ProcessRunner> m_clients;
    /// What terminals run.
    QString m_sshProgram;
};

} // namespace moorix::test
