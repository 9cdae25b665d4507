// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QWidget>

#include <memory>

namespace moorix {

class ProcessRunner;
class Session;

/// A server that could not be reached: what went wrong in a sentence, the client's own words beneath, and what can be
/// done about it.
class FailureView final : public QWidget
{
    Q_OBJECT

public:
    /// `isSaved` tells whether the record is in the library and can be edited there.
    FailureView(Session &session, bool isSaved, std::shared_ptr<ProcessRunner> runner, QWidget *parent = nullptr);

signals:
    void editRequested();
};

} // namespace moorix
