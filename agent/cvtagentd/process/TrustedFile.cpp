#include "agent/cvtagentd/process/TrustedFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <list>
#include <system_error>
#include <vector>

#include "agent/cvtagentd/process/Users.h"

namespace cvtagentd {
namespace {

using Path = std::filesystem::path;

bool MayDecide(uid_t user) { return user == 0 || user == ::geteuid(); }

/// Whether everybody may remove a file's name in this folder, and give it to another file.
bool IsOpenToAll(const struct stat& folder) {
    return (folder.st_mode & S_IWOTH) != 0 && (folder.st_mode & S_ISVTX) == 0;
}

/// Each folder in which the kernel looks up a part of the name; a folder may occur more than once.
std::vector<Path> FoldersOnTheWay(const Path& file) {
    constexpr int kMostLinks = 40;  // as the kernel allows
    std::error_code error;
    const Path absolute = std::filesystem::absolute(file, error);
    std::list<Path> left(absolute.begin(), absolute.end());
    std::vector<Path> folders;
    Path here = "/";
    for (int links = 0; !left.empty() && links <= kMostLinks;) {
        const Path part = left.front();
        left.pop_front();
        if (part.empty() || part == "." || part == "/") {
            continue;
        }
        if (part == "..") {
            here = here.parent_path();
            continue;
        }
        folders.push_back(here);
        const Path next = here / part;
        if (!std::filesystem::is_symlink(next, error)) {
            here = next;
            continue;
        }
        ++links;
        const Path target = std::filesystem::read_symlink(next, error);
        if (target.is_absolute()) {
            here = "/";
        }
        left.insert(left.begin(), target.begin(), target.end());
    }
    return folders;
}

}  // namespace

std::string TrustedFile::WhyNot(const std::string& what, const std::string& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        return {};
    }
    if (!MayDecide(status.st_uid)) {
        const std::string us = ::geteuid() == 0 ? "root" : "root or " + Users::WithId(::geteuid()).Label();
        return what + " " + file + " belongs to the user " + Users::WithId(status.st_uid).Label() +
               ", who must not control the agent; give it to " + us + " (chown)";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "users other than its owner can write to " + what + " " + file +
               "; remove that permission (chmod go-w " + file + ")";
    }
    for (const Path& folder : FoldersOnTheWay(file)) {
        if (::stat(folder.c_str(), &status) == 0 && IsOpenToAll(status)) {
            std::string why = "everybody can replace ";
            why.append(what).append(" ").append(file).append(", since everybody can write to the folder ");
            return why.append(folder).append("; remove that permission (chmod o-w ").append(folder).append(")");
        }
    }
    return {};
}

std::string TrustedFile::FolderOfOthers(const std::string& file) {
    for (const Path& folder : FoldersOnTheWay(file)) {
        struct stat status {};
        if (::stat(folder.c_str(), &status) == 0 &&
            (!MayDecide(status.st_uid) || ((status.st_mode & S_IWGRP) != 0 && (status.st_mode & S_ISVTX) == 0))) {
            return folder.string();
        }
    }
    return {};
}

}  // namespace cvtagentd
