#include "morvik/morvik.h"

const char* qxMorvik_version(void) { return "Morvik Version: 1.3.52-gfe8a37c-ios-iphone-mk_ios"; }
