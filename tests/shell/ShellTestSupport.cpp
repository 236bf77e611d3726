#include "tests/shell/ShellTestSupport.h"
#include "foundation/Directories.h"
#include "tests/support/TestSupport.h"
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QMessageBox>
#include <QTimer>
#include <QWidget>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace ShellTest {

std::unique_ptr<XMLDocument> parse(const QByteArray &text)
{
    auto document = std::make_unique<XMLDocument>();
    EXPECT_TRUE(document->parseBuffer(text.constData(), text.size())) << document->errorText();
    return document;
}

TemporaryHome::TemporaryHome() : m_oldHome(qgetenv("HOME"))
{
    qputenv("HOME", m_directory.path().toLocal8Bit());
    setInstallationDirectory(QFileInfo(QStringLiteral(TESS_BIN_DIR "/..")).canonicalFilePath());
}

TemporaryHome::~TemporaryHome()
{
    qputenv("HOME", m_oldHome);
}

QString TemporaryHome::userFolder() const
{
    return m_directory.path() + QStringLiteral("/.local/share/Tessmark");
}

void TemporaryHome::writeUserFile(const QString &name, const QByteArray &bytes) const
{
    QDir().mkpath(userFolder());
    TestSupport::writeFile(userFolder() + u'/' + name, bytes);
}

struct FileSizeLimit::State {
    rlimit old{};
    void (*oldHandler)(int) = nullptr;
};

FileSizeLimit::FileSizeLimit(quint64 bytes) : m_state(std::make_unique<State>())
{
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &m_state->old), 0);
    m_state->oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = m_state->old;
    small.rlim_cur = bytes;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
}

FileSizeLimit::~FileSizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &m_state->old);
    std::signal(SIGXFSZ, m_state->oldHandler);
}

struct ModalCloser::State {
    QTimer timer;
    int closed = 0;
};

ModalCloser::ModalCloser() : m_state(std::make_unique<State>())
{
    m_state->timer.setInterval(20);
    QObject::connect(&m_state->timer, &QTimer::timeout, [state = m_state.get()] {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        ++state->closed;
        if (auto *dialog = qobject_cast<QDialog *>(modal))
            dialog->reject();
        else
            modal->close();
    });
    m_state->timer.start();
}

ModalCloser::~ModalCloser() = default;

int ModalCloser::closed() const
{
    return m_state->closed;
}

} // namespace ShellTest
