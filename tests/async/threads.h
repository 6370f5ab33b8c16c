// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_THREADS_H
#define HNIPC_TESTS_THREADS_H

#include <fstream>
#include <string>

#include <dirent.h>

// How many threads of this process have this name, as a debugger and top show it. Can be called while
// static objects are destroyed.
inline int threadCount(const std::string &name)
{
    const std::string tasks = "/proc/self/task/";
    int count = 0;
    DIR *const directory = opendir(tasks.c_str());
    while (const dirent *const entry = readdir(directory)) {
        std::ifstream file((tasks + entry->d_name + "/comm").c_str());
        std::string line;
        count += std::getline(file, line) && line == name;
    }
    closedir(directory);
    return count;
}

#endif
