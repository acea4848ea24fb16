extern "C" int CreateSomethingElse()
{
    return 0;
}
