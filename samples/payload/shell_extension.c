/* The DLL of a sample product, with a function that its descriptor calls before the product goes. */
#include <windows.h>

/* Forgets which pictures were looked at: a key that no descriptor names, as only the product knows it. */
__declspec(dllexport) int ForgetPictures(void)
{
    return (int)RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"Software\\Pellworth\\Recent Pictures");
}
