// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <sys/types.h>
#include <vector>

namespace moorix {

/// Texts in the form that exec wants; they live as long as the object.
class ArgumentVector final
{
public:
    void append(const QByteArray &text) { m_texts.push_back(text); }
    /// Ended by a null pointer; valid until the next `append`.
    char *const *data();

private:
    std::vector<QByteArray> m_texts;
    std::vector<char *> m_pointers;
};

/// What every child process of ours is started by.
namespace ProcessStart {

/// Throws the Error that `program` could not be started for this reason.
[[noreturn]] void fail(const QString &program, int errorNumber);

/// Starts a child that calls `become`, which makes it the program and returns only where that fails, with errno set;
/// it may do system calls and nothing else, since until exec the memory is ours. All signals are held back meanwhile;
/// `become` lets them through. Throws an Error naming `program`; the child is gone then.
pid_t start(const QString &program, const std::function<void()> &become);

} // namespace ProcessStart

} // namespace moorix
