"""Demangled names as one would write them."""

ABBREVIATIONS = {
    "std::__cxx11::list<Types::TILINGS_VAR_STRUCT, std::allocator<Types::TILINGS_VAR_STRUCT> >": (
        "std::list<Types::TILINGS_VAR_STRUCT>"
    ),
    "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >": "std::string",
    "std::basic_ostream<char, std::char_traits<char> >": "std::ostream",
    "_IO_FILE*": "FILE*",
    "[abi:cxx11]": "",
}


def shorten(text):
    for long, short in ABBREVIATIONS.items():
        text = text.replace(long, short)
    return text
