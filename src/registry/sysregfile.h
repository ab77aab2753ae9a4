#pragma once

#include <pugixml.hpp>

/// One registry file as a document. Not for several threads at once.
class SysRegFile {
public:
    /// @param fileName  in the user's configuration directory
    explicit SysRegFile(const char *fileName)
        : m_fileName(fileName)
    {
    }

    /// The document's Registry element, after loading the file if it is not loaded yet. A missing
    /// or empty file is created. A file that is damaged, too large or too deep is left alone.
    /// @return an empty node when there is no usable file
    [[nodiscard]] pugi::xml_node Load();

    /// Writes the document to its file. When that fails, the document is forgotten, so that it
    /// never differs from the file.
    [[nodiscard]] bool Save();

    /// Forgets changes that were not saved.
    void Forget();

private:
    [[nodiscard]] bool Read(const char *path);
    [[nodiscard]] bool Parse(char *text, std::size_t length);

    const char *m_fileName;
    pugi::xml_document m_document;
    bool m_loaded = false;
};
