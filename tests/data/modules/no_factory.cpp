// A library without a factory.
extern "C" __attribute__((visibility("default"))) int something_else()
{
    return 0;
}
