#pragma once

#include <list>
#include <string>

std::string ConvListToStr(const std::list<std::string>& lstItems, const std::string& strSeparator);
int IsQarnPreset(std::string strName, int& nNumber);
int VexlibUnicodeIsUTF8(const char* pText);
int VexlibExec(const char* pProgram, const char* pArg1, const char* pArg2, const char* pArg3, const char* pArg4);
