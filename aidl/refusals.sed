# Makes the methods of an interface, each refused by unsupported(), for a class that implements only
# some of them; from the header that the AIDL compiler generates. Used with sed -n -E by CMake.
s/^ *virtual ([A-Za-z0-9_:]+ [A-Za-z0-9_]+\(.*\)) = 0;.*/\1 override { return unsupported(); }/p
