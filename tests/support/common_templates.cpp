#include "support/common_templates.h"

template class std::basic_string<char>;
template class std::basic_string<wchar_t>;
template class std::vector<std::string>;
template class std::vector<std::wstring>;
template class std::set<std::string>;
template class std::set<std::wstring>;
template class std::unique_ptr<std::string>;
template class std::unique_ptr<std::stringstream>;
