#include <windows.h>

#include <openssl/crypto.h>

/// What the system tells the library of its own life and of the program's threads.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Stays loaded, once it is: a look-up that the system never answers may outlive its handle,
        // and the code that its thread returns to must still be there.
        HMODULE pinned = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<LPCWSTR>(&DllMain), &pinned);
    } else if (reason == DLL_THREAD_DETACH) {
        OPENSSL_thread_stop(); // a static OpenSSL is not told by itself
    }
    return TRUE;
}
