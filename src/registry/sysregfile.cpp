#include "sysregfile.h"

#include "sysfile.h"
#include "sysheap.h"
#include "syspaths.h"
#include "utilformat.h"

#include <array>
#include <sstream>
#include <string>

namespace {

constexpr char kRootName[] = "Registry";
constexpr std::string_view kEmptyFile = "<Registry>\r\n</Registry>";
constexpr std::uint32_t kMaxFileBytes = 4U << 20;
/// A deeper file is not ours; walking it would exhaust the stack.
constexpr int kMaxDepth = 200;

/// Everything in the root element is kept as it is: comments, line ends, blanks between elements
/// and in values. So nothing is indented either: added blanks would be read as part of a value.
constexpr unsigned kParseFlags
    = (pugi::parse_full & ~unsigned{pugi::parse_eol}) | pugi::parse_ws_pcdata;
constexpr unsigned kFormatFlags = pugi::format_raw | pugi::format_no_declaration;

using Path = std::array<char, SYS_MAX_PATH>;

/// @return whether there is a directory and the path fits
bool ComposePath(Path &path, const char *fileName)
{
    Path directory;
    if (SYS_UserConfigDir(directory.data(), SYS_MAX_PATH) != SYS_PATH_OK)
        return false;
    const char *const end = UTIL_Format(path, "%s/%s", directory.data(), fileName);
    return end < path.data() + path.size() - 1;
}

/// Walks the tree without recursion.
bool IsDeeperThan(pugi::xml_node root, int limit)
{
    int depth = 0;
    for (pugi::xml_node node = root; node;) {
        if (node.first_child()) {
            if (++depth > limit)
                return true;
            node = node.first_child();
            continue;
        }
        while (node != root && !node.next_sibling()) {
            node = node.parent();
            --depth;
        }
        node = node == root ? pugi::xml_node() : node.next_sibling();
    }
    return false;
}

} // namespace

pugi::xml_node SysRegFile::Load()
{
    Path path;
    if (!m_loaded)
        m_loaded = ComposePath(path, m_fileName) && Read(path.data());
    return m_loaded ? m_document.child(kRootName) : pugi::xml_node();
}

bool SysRegFile::Read(const char *path)
{
    auto *const buffer = static_cast<char *>(SYS_AllocBlock(kMaxFileBytes));
    if (!buffer)
        return false;
    std::size_t length = 0;
    SysFileResult result = SYS_ReadFile(path, {buffer, kMaxFileBytes}, length);
    const bool isNew
        = result == SysFileResult::FileNotFound || (result == SysFileResult::Ok && length == 0);
    if (isNew && SYS_ReplaceFile(path, kEmptyFile) == SysFileResult::Ok)
        result = SYS_ReadFile(path, {buffer, kMaxFileBytes}, length);
    const bool usable = result == SysFileResult::Ok && Parse(buffer, length);
    SYS_Free(buffer);
    return usable;
}

bool SysRegFile::Parse(char *text, std::size_t length)
{
    const pugi::xml_parse_result parsed
        = m_document.load_buffer(text, length, kParseFlags, pugi::encoding_utf8);
    if (!parsed || !m_document.child(kRootName) || IsDeeperThan(m_document, kMaxDepth)) {
        m_document.reset();
        return false;
    }
    return true;
}

bool SysRegFile::Save()
{
    std::ostringstream text;
    m_document.save(text, "", kFormatFlags, pugi::encoding_utf8);
    Path path;
    const std::string content = text.str();
    const bool saved = content.size() <= kMaxFileBytes && ComposePath(path, m_fileName)
        && SYS_ReplaceFile(path.data(), content) == SysFileResult::Ok;
    if (!saved)
        Forget();
    return saved;
}

void SysRegFile::Forget()
{
    m_document.reset();
    m_loaded = false;
}
