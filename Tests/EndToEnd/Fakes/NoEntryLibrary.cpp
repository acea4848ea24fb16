extern "C" __attribute__((visibility("default"))) int CreateSomethingElse()
{
    return 0;
}
