// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

namespace moorix {

class FileClipboard;

/// Takes from the system's clipboard what is no longer cut here because it has been moved. Main thread.
class ClipboardLink final : public QObject
{
    Q_OBJECT

public:
    explicit ClipboardLink(const FileClipboard &files, QObject *parent = nullptr);

private:
    void follow();

    const FileClipboard &m_files;
};

} // namespace moorix
