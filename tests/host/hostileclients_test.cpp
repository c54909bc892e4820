// Clients that try to pass for others, or to exhaust the server.

#include "support/stillserving.h"

namespace {

class HostileClients : public StillServing
{
protected:
    HostileClients() { start(); }
};

TEST_F(HostileClients, AreRefusedUnderForeignNames)
{
    for (const QByteArray host :
         {"evil.tld",
          "127.0.0.1.evil.tld",
          "localhost.evil.tld",
          "[::1].evil.tld",
          "localhost@evil.tld",
          "evil.tld@localhost",
          "localhos",
          "ocalhost",
          "127.0.0.",
          "127.0.0.2",
          "0.0.0.0",
          "2130706433",
          "0x7f.1",
          "localhost:80.evil.tld",
          "localhost evil.tld",
          "localhost, evil.tld",
          "localhost/",
          "",
          ":",
          "."})
        EXPECT_EQ(get("/health", {"Host: " + host}).status, 421) << host.toStdString();
}

} // namespace
