#pragma once

#include "http/servertimes.h"
#include "rpc/dispatcher.h"

class AccessPolicy;
class ConnectionTable;
class IoThread;
class Metrics;
class PendingBudget;
class RequestHandler;
class RootPools;

/// What all connections of a server use. It outlives them.
struct ServerParts
{
    IoThread& io;
    ConnectionTable& connections;
    AccessPolicy& access;
    RequestHandler& handler;
    Metrics& metrics;
    const PendingBudget& pending;
    /// Reads ahead from the disks.
    RootPools& disk;
    Services services;
    const ServerTimes& times;
};
