#pragma once

#include "rpc/dispatcher.h"

class AccessPolicy;
class ConnectionTable;
class ThreadPool;
class IoThread;
class Metrics;
class RequestHandler;

/// What all connections of a server use. It outlives them.
struct ServerParts
{
    IoThread& io;
    ConnectionTable& connections;
    AccessPolicy& access;
    RequestHandler& handler;
    Metrics& metrics;
    /// Reads ahead from the disk.
    ThreadPool& disk;
    Services services;
};
