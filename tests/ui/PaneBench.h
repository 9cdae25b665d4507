// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/FileClipboard.h"
#include "app/ListColumns.h"
#include "files/PaneModel.h"
#include "platform/KeyValueStore.h"
#include "platform/Preferences.h"
#include "settings/SettingsStore.h"
#include "support/ScriptedFileService.h"
#include "support/TestMain.h"
#include "ui/Theme.h"
#include "ui/pane/PaneView.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTreeView>

namespace moorix::test {

/// A pane on a tree in memory, in a window that has the keyboard.
class PaneBench final
{
public:
    /// Opens the folder; without one nothing is loaded yet.
    explicit PaneBench(std::initializer_list<ScriptedFileService::Entry> entries,
                       const QString &path = QStringLiteral("/"))
        : files(std::make_shared<ScriptedFileService>(entries))
    {
        view.resize(600, 400);
        view.show();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        view.focusList();
        if (!path.isEmpty())
            open(path);
    }

    void open(const QString &path)
    {
        pane.load(path, true);
        QTRY_VERIFY(pane.currentPath() == path && !pane.isLoading());
    }

    /// Opens a folder of files f000000, f000001 and so on.
    void openMany(int count)
    {
        for (int i = 0; i < count; ++i)
            files->inventedNames << QStringLiteral("f%1").arg(i, 6, 10, QChar(u'0'));
        open(QStringLiteral("/"));
    }

    QTreeView &list() { return *part<QTreeView>("fileList"); }
    template <class Part>
    Part *part(const char *name)
    {
        return view.findChild<Part *>(QString::fromLatin1(name));
    }
    /// A part of one of the bars that all look alike.
    template <class Part>
    Part *part(const char *bar, const char *name)
    {
        return part<QWidget>(bar)->template findChild<Part *>(QString::fromLatin1(name));
    }
    bool isShown(const char *name) { return part<QWidget>(name) && part<QWidget>(name)->isVisible(); }
    void press(int key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key(key), modifiers);
    }
    void type(const QString &text) { QTest::keyClicks(QApplication::focusWidget(), text); }
    QString current() { return list().currentIndex().siblingAtColumn(0).data().toString(); }
    QStringList rows()
    {
        QStringList names;
        for (int row = 0; row < list().model()->rowCount(); ++row)
            names.append(list().model()->index(row, 0).data().toString());
        return names;
    }
    QStringList selected() { return namesOf(pane.selectedItems()); }
    /// The names the view paints as selected.
    QStringList painted()
    {
        QStringList names;
        for (const QModelIndex &index : list().selectionModel()->selectedRows())
            names.append(index.data().toString());
        return sorted(names);
    }

    QTemporaryDir folder;
    Preferences preferences{folder.filePath(QStringLiteral("preferences.json"))};
    KeyValueStore cloud{QString()};
    SettingsStore settings{preferences, cloud};
    FileClipboard clipboard;
    ListColumns columns{settings, preferences};
    std::shared_ptr<ScriptedFileService> files;
    PaneModel pane{files, QStringLiteral("memory"), false};
    QList<TransferRequest> transfers;
    QString refusal;
    PaneView view{pane, context()};

private:
    PaneContext context()
    {
        PaneContext context{settings, clipboard, columns, files, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
        context.transfer = [this](TransferRequest request) { transfers.append(std::move(request)); };
        context.copyToOtherSide = [this] { return PaneContext::Refusal(refusal); };
        return context;
    }
};

} // namespace moorix::test
