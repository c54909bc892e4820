// A library that calls a function that nobody has.
class CMWorker;
extern "C" CMWorker* function_of_no_library();

extern "C" __attribute__((visibility("default"))) CMWorker* worker_create(void*, const void*)
{
    return function_of_no_library();
}
