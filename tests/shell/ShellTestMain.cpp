// The shell's tests run widgets: one application object for the whole program, on the offscreen
// platform so no screen is needed.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>
#include <unistd.h>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Without a session Qt picks a runtime folder itself and says so on every start.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
        const QString runtime = QDir::tempPath() + QStringLiteral("/runtime-tests-") + QString::number(getuid());
        if (QDir().mkpath(runtime) && QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
            qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    }
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
