// Nothing but the precompiled headers of all test programs: see CMakeLists.txt.
