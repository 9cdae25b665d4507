// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/TestMain.h"

#include "base/Job.h"

#ifdef MOORIX_UI_TESTS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

#include <cstdio>
#include <cstring>
#include <vector>

namespace {

std::vector<std::function<std::unique_ptr<QObject>()>> &factories()
{
    static std::vector<std::function<std::unique_ptr<QObject>()>> all;
    return all;
}

/// Runs last: after a class that is skipped as a whole, in initTestCase, QtTest runs nothing of those that follow, and
/// calls that a success.
class LastTest final : public QObject
{
    Q_OBJECT

public:
    bool hasRun = false;

private slots:
    void runs() { hasRun = true; }
};

} // namespace

moorix::test::Registration::Registration(std::function<std::unique_ptr<QObject>()> make)
{
    factories().push_back(std::move(make));
}

/// Usage: BINARY [ClassName|~ClassName] [QtTest options]. Runs that class, all but that one, or all classes.
int main(int argc, char *argv[])
{
    TestApplication application(argc, argv);
    QString wanted;
    QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() > 1 && (arguments.at(1).at(0).isUpper() || arguments.at(1).startsWith(u'~')))
        wanted = arguments.takeAt(1);
    const bool isLeftOut = wanted.startsWith(u'~');
    if (isLeftOut)
        wanted.remove(0, 1);
    int failures = 0;
    int classes = 0;
    for (const auto &make : factories()) {
        const std::unique_ptr<QObject> test = make();
        const bool isNamed = wanted == QLatin1String(test->metaObject()->className());
        if (!wanted.isEmpty() && isNamed == isLeftOut)
            continue;
        failures += QTest::qExec(test.get(), arguments);
        ++classes;
    }
    LastTest last;
    failures += QTest::qExec(&last, {QString(), QStringLiteral("-silent")});
    if (!last.hasRun) {
        std::fputs("A class was skipped in initTestCase, and with it those behind it. Skip in init.\n", stderr);
        ++failures;
    }
    if (!moorix::stopAllWork(std::chrono::seconds(10))) {
        std::fputs("Background work did not end.\n", stderr);
        ++failures;
    }
    if (classes == 0) {
        std::fputs("No test class of that name.\n", stderr);
        return 1;
    }
    return failures;
}

#include "TestMain.moc"
