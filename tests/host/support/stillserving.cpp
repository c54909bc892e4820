#include "support/stillserving.h"

#include <QDeadlineTimer>

void StillServing::start()
{
    serving.start();
    m_other = std::make_unique<WebClient>(serving.port());
    ASSERT_EQ(m_other->response().status, 101);
}

void StillServing::TearDown()
{
    EXPECT_TRUE(m_other->call("describe").contains(QLatin1String("result")));
    EXPECT_TRUE(servesNewClient());
}

HttpResponse StillServing::get(const QByteArray& target, const std::vector<QByteArray>& fields) const
{
    return HttpClient(serving.port()).get(target, fields);
}

bool StillServing::servesNewClient() const
{
    constexpr std::chrono::seconds patience{30};
    const QDeadlineTimer deadline(patience);
    while (get("/health").status != 200) {
        if (deadline.hasExpired())
            return false;
    }
    return true;
}
