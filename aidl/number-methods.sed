# Makes a header of an interface: its methods that take nothing and answer with a number, each put
# through X. Used with sed -n -E by CMake and Android.bp.
1i\
#pragma once\
\
/** The charger's methods that answer with a number, each put through X, in their order. */\
#define ZSTATS_CHARGER_METHODS(X) \\
s/^ *int ([A-Za-z0-9]+)\(\)( = [0-9]+)?;.*/    X(\1) \\/p
$s/.*//p
