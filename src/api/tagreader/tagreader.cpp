#include "tagreader.h"

TagReader::~TagReader() = default;
