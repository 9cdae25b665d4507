// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QWidget>

class QLabel;
class QListWidget;
class QPushButton;

namespace moorix {

class AppModel;

/// The files and folders of a backup: chosen, taken from the selection of a file list, or dropped.
class SourceList final : public QWidget
{
    Q_OBJECT

public:
    explicit SourceList(AppModel &model, QWidget *parent = nullptr);

    QStringList paths() const;
    void setPaths(const QStringList &paths);
    /// Adds what is not there yet.
    void add(const QStringList &paths);

    /// What is selected in the local file list of the active side, else of the other side.
    static QStringList selectionOf(const AppModel &model);
    static bool hasSelection(const AppModel &model);

signals:
    void edited();

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum class What { files, folder };

    void addPath(const QString &path);
    void choose(What what);
    void removeSelected();
    void updateButtons();

    AppModel &m_model;
    QListWidget *m_list;
    QLabel *m_hint;
    QPushButton *m_addSelection;
    QPushButton *m_remove;
};

} // namespace moorix
