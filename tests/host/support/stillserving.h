#pragma once

#include "support/serving.h"
#include "support/webclient.h"

#include <gtest/gtest.h>

#include <memory>

/// A server that must still serve its other clients when a test has ended.
class StillServing : public testing::Test
{
protected:
    /// Starts the server, to which a client of no further interest connects.
    void start();
    /// Expects that this client gets an answer, and a new one too.
    void TearDown() override;

    [[nodiscard]] HttpResponse get(const QByteArray& target, const std::vector<QByteArray>& fields = {}) const;
    /// Of the program, in kB.
    [[nodiscard]] int memory() { return serving.program().memory("VmRSS"); }

    Serving serving;

private:
    /// Tries again while the places of clients that are gone are still taken.
    [[nodiscard]] bool servesNewClient() const;

    std::unique_ptr<WebClient> m_other;
};
