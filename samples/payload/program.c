/* The program that the sample installers put on the machine, under a name of its own for each product.
 *
 * Without an argument it says which program it is. With --wait it stays until it is ended, so that a
 * removal meets a program that runs; every other argument is accepted and does nothing. */
#include <windows.h>

#include <stdio.h>
#include <wchar.h>

int wmain(int count, wchar_t** arguments)
{
    if (count < 2)
        printf("%s\n", SAMPLE_NAME);
    else if (wcscmp(arguments[1], L"--wait") == 0)
        Sleep(INFINITE);
    return 0;
}
