#pragma once

// Logging through the library's log4cpp configuration, for applications that want their lines
// in the same place as the library's. The configuration is read once, when the library loads,
// from "brxlog4cpp.property" beside the running executable.

#ifdef __cplusplus
extern "C" {
#endif

void BrxLog4Cpp_configure(const char* fileName, const char* categoryName);
void BrxLog4Cpp_Debug(const char* category, unsigned long code, char* text);
void BrxLog4Cpp_Info(const char* category, unsigned long code, char* text);
void BrxLog4Cpp_Warning(const char* category, unsigned long code, char* text);
void BrxLog4Cpp_Error(const char* category, unsigned long code, char* text);
void BrxLog4Cpp_Fatal(const char* category, unsigned long code, char* text);
void BrxLog4Cpp_Notice(const char* category, char* text);

#ifdef __cplusplus
}
#endif
