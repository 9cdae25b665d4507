// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSplitter>

namespace moorix {

class Preferences;

/// What stands above a drawer, and the drawer, whose upper edge is moved by the mouse or, once it has the keyboard, by
/// the arrow keys, Page Up and Down, Home and End. Its height is remembered, and comes back where there was too little
/// room for it meanwhile.
class DrawerSplitter final : public QSplitter
{
    Q_OBJECT

public:
    /// `edgeName` is the edge's for assistive tools, `key` where the preferences keep the height.
    DrawerSplitter(QWidget &content, QWidget &drawer, const QString &edgeName, Preferences &preferences,
                   const QString &key, QWidget *parent);

    /// In pixels, as wanted; what is shown is what there is room for.
    int drawerHeight() const { return m_height; }
    /// Anything out of bounds becomes the nearest that is possible.
    void setDrawerHeight(int height);

    static constexpr int usualHeight = 190;
    static constexpr int leastHeight = 110;

protected:
    QSplitterHandle *createHandle() override;
    bool event(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int mostHeight() const;
    void fit();

    QWidget &m_content;
    QWidget &m_drawer;
    Preferences &m_preferences;
    QString m_key;
    int m_height = usualHeight;
};

} // namespace moorix
