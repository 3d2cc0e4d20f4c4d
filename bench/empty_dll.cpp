// What a DLL costs that does nothing: the peer for the time of LoadLibrary.
extern "C" __declspec(dllexport) int Nothing();

int Nothing() { return 0; }
