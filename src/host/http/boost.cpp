// The libraries' own code, compiled here alone.

#include <boost/asio/impl/src.hpp>
#include <boost/beast/src.hpp>
