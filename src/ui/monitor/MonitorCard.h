// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

#include <array>

class QLabel;
class QVBoxLayout;

namespace moorix {

class ElidedLabel;

/// One figure of a machine: its name, its value, a line of details, and below whatever shows more of it.
class MonitorCard final : public QFrame
{
    Q_OBJECT

public:
    MonitorCard(const QString &title, const QString &objectName, QWidget *parent = nullptr);

    void setValue(const QString &value);
    /// An empty text takes no room.
    void setDetails(const QString &details);
    /// What runs short, in a sentence; empty when nothing does.
    void setAlert(const QString &sentence);
    /// Below the texts, over the whole width.
    void addContent(QWidget *content, int stretch);
    /// How many of six parts of a row it takes, for rows that hold one, two or three cards.
    void setParts(std::array<int, 3> parts) { m_parts = parts; }
    int parts(int columns) const { return m_parts.at(std::size_t(columns - 1)); }

private:
    ElidedLabel *m_value;
    ElidedLabel *m_details;
    QLabel *m_alert;
    QVBoxLayout *m_column;
    std::array<int, 3> m_parts{6, 3, 2};
};

} // namespace moorix
