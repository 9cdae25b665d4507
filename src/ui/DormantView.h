// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

namespace moorix {

class Session;

/// A server's tab of an earlier run, with a button to connect it again.
class DormantView final : public QWidget
{
    Q_OBJECT

public:
    explicit DormantView(Session &session, QWidget *parent = nullptr);
};

} // namespace moorix
