// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/Shorthand.h"
#include "support/TestTree.h"

#include <functional>
#include <memory>

namespace moorix::test {

/// Adds a test class to the binary it is linked into; see MOORIX_TEST.
struct Registration
{
    explicit Registration(std::function<std::unique_ptr<QObject>()> make);
};

} // namespace moorix::test

/// Registers a QtTest class; each test binary runs all classes linked into it.
#define MOORIX_TEST(Class)                                                                                             \
    static const moorix::test::Registration registration##Class([] { return std::make_unique<Class>(); });
