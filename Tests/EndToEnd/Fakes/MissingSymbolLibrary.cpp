/// A platform function of a version that there is not.
namespace Oxa::System::Commons
{
void FunctionOfTheNextPlatform();
}

extern "C" __attribute__((visibility("default"))) void* CreateWbmModuleLibrary(void* appDomain)
{
    Oxa::System::Commons::FunctionOfTheNextPlatform();
    return appDomain;
}
