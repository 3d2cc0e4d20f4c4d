// A process to be ended. It ends by itself after a while, so that no test can leave it behind.
#include <windows.h>

int main()
{
    constexpr DWORD longerThanAnyTest = 60000;
    constexpr int nobodyEndedIt = 77;
    Sleep(longerThanAnyTest);
    return nobodyEndedIt;
}
