// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QHash>

class QListWidget;
class QStackedWidget;

namespace moorix {

class AppModel;
class PreferenceControl;
struct PreferencePage;

/// All settings, page by page. Changes are in force at once; there is nothing to confirm. Shown with `show()`.
class PreferencesWindow final : public QDialog
{
    Q_OBJECT

public:
    explicit PreferencesWindow(AppModel &model, QWidget *parent = nullptr);

    void showToolBarPage();

private:
    QWidget *makePage(const PreferencePage &page);

    QListWidget *m_list;
    QStackedWidget *m_stack;
    QHash<QString, PreferenceControl *> m_controls;
};

} // namespace moorix
