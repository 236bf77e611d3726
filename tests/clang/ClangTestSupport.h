#pragma once
#include "clang/ClangInterface.h"
#include "clang/ClangServer.h"
#include "clang/Protocol.h"
#include "tests/clang/FakeIndexerRoles.h"
#include <QByteArray>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace ClangTest {

// Bytes of the shared area written out by hand, independently of the protocol's encoder.
class Bytes {
public:
    Bytes &int32(qint32 value)
    {
        data.append(reinterpret_cast<const char *>(&value), 4);
        return *this;
    }
    Bytes &string(const QByteArray &text)
    {
        data.append(text);
        data.append('\0');
        return *this;
    }
    Bytes &raw(const QByteArray &bytes)
    {
        data.append(bytes);
        return *this;
    }
    // A reply header: status, count, and four unused slots.
    static Bytes reply(qint32 status, qint32 count)
    {
        Bytes bytes;
        bytes.int32(status).int32(count).int32(0).int32(0).int32(0).int32(0);
        return bytes;
    }
    QByteArray data;
};

inline QString fakeIndexer()
{
    return QStringLiteral(TESS_FAKE_INDEXER);
}

// What a server told its trace and notice sinks.
struct Messages {
    QStringList traces;
    QStringList notices;
};

inline ClangSettings fakeSettings(Messages &messages, int timeoutSeconds = 60)
{
    ClangSettings settings;
    settings.indexerProgram = fakeIndexer();
    settings.timeoutSeconds = timeoutSeconds;
    settings.trace = [&messages](const QString &text) { messages.traces.append(text); };
    settings.notice = [&messages](const QString &text) { messages.notices.append(text); };
    return settings;
}

// Writes a reply into the area as the held stand-in's test side, then lets it post.
inline void answerHeld(ClangServer &server, const QByteArray &reply)
{
    std::memcpy(server.data(), reply.constData(), std::size_t(reply.size()));
    __atomic_store_n(reinterpret_cast<int *>(server.data() + 20), holdRelease, __ATOMIC_RELEASE);
}

// Calls `collect` until it returns true; fails the test after 20 s.
template <typename Collect> bool collectWithin(Collect &&collect)
{
    QElapsedTimer clock;
    clock.start();
    while (!collect()) {
        if (clock.hasExpired(20000)) {
            ADD_FAILURE() << "no result within 20 s";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace ClangTest
