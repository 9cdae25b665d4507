// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>
#include <QVariant>

#include <functional>
#include <utility>

class QWidget;

namespace moorix {

class AppModel;

/// One setting as the preferences window shows it. Values are bool, QString, double or qint64, as the setting's.
struct PreferenceRow
{
    enum class Kind { toggle, text, number, choice, folder, font };

    Kind kind = Kind::toggle;
    QString key;
    QString label;
    QString help;
    std::function<QVariant()> value;
    std::function<void(const QVariant &)> set;
    QVariant fallBack;
    /// Of a number.
    double minimum = 0;
    double maximum = 0;
    QString unit = {};
    /// Of a choice: the stored value and its label.
    QList<std::pair<QString, QString>> choices = {};
    /// Of a text: what an empty field means.
    QString placeholder = {};
};

struct PreferencePage
{
    QString title;
    QString iconName;
    /// Said once above the rows; empty when there is nothing to say.
    QString note;
    QList<PreferenceRow> rows;
    /// Makes what stands below the rows, if anything.
    std::function<QWidget *(QWidget *parent)> makePanel = {};
};

/// All settings, page by page. The rows refer to the model's settings, which must outlive them.
QList<PreferencePage> preferencePages(AppModel &model);

} // namespace moorix
