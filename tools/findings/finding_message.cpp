// The library's messages are English. This table knows each of them by its words.
#include "findings/finding_message.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tools {

namespace {

// A message that another one begins with, or is a case of, stands behind that one.
constexpr Message kMessages[] = {
    // What cannot be read.
    {"the file cannot be read: No such file or directory", "无法读取文件：没有那个文件或目录"},
    {"the file cannot be read: Permission denied", "无法读取文件：权限不够"},
    {"the file cannot be read: Not a directory", "无法读取文件：不是目录"},
    {"the file cannot be read: it is not a regular file", "无法读取文件：它不是普通文件"},
    {"the file cannot be read: it could not be read to its end", "无法读取文件：不能读到末尾"},
    {"the file cannot be read: it has no name", "无法读取文件：没有文件名"},
    {"the file cannot be read: {1}", "无法读取文件：{1}"},
    {"the document is beyond the limits of a script", "文档超出了脚本的限制"},
    {"it has bytes that are no character of its encoding", "有些字节不是它的编码中的字符"},
    {"it refers to an entity in another file, and a script is one file",
     "它引用了另一个文件中的实体，而脚本只是一个文件"},

    // Mistakes.
    {"the root element is {1}, not \"korvid\"", "根元素是 {1}，不是 \"korvid\""},
    {"there is no \"Process\" element", "没有 \"Process\" 元素"},
    {"the function {1} is declared already", "函数 {1} 已经声明过"},
    {"the tag {1} is a keyword of calls", "标签 {1} 是调用中的关键字"},
    {"the type {1} is neither \"int\" nor \"string\"", "类型 {1} 既不是 \"int\" 也不是 \"string\""},
    {"\"must\" is {1}, neither \"true\" nor \"false\"",
     "\"must\" 是 {1}，既不是 \"true\" 也不是 \"false\""},
    {"the section {1} exists already", "节 {1} 已经存在"},
    {"the name of the element is one that the code page of the locale cannot express",
     "元素的名字无法用语言环境的代码页表示"},
    {"no \"Func\" declares {1}", "没有 \"Func\" 声明 {1}"},
    {"the host has no function {1}", "宿主没有函数 {1}"},
    {"{1} is declared with {2} parameters, the host's has {3}",
     "{1} 声明了 {2} 个参数，宿主的函数有 {3} 个"},
    {"parameter {1} of {2} is declared as {3}, the host's is {4}",
     "{2} 的参数 {1} 声明为 {3}，宿主的是 {4}"},
    {"a parameter of {1} has an empty tag", "{1} 的一个参数的标签为空"},
    {"the argument {1} is given already", "参数 {1} 已经给出过"},
    {"{1} needs the attribute {2}", "{1} 需要属性 {2}"},
    {"{1} needs the argument {2}", "{1} 需要参数 {2}"},
    {"{1} needs the name of a variable", "{1} 需要一个变量名"},
    {"{1} has an attribute {2} that the code page of the locale cannot express",
     "{1} 的属性 {2} 无法用语言环境的代码页表示"},
    {"{1} has a text that the code page of the locale cannot express",
     "{1} 的文本无法用语言环境的代码页表示"},

    // What loading accepts.
    {"scripts need no document type; remove it", "脚本不需要文档类型声明；请删除"},
    {"the file declares another encoding, but all of it is UTF-8; declare UTF-8",
     "文件声明了别的编码，但内容全是 UTF-8；请声明 UTF-8"},
    {"the process {1} is ignored: only those with an empty name are read",
     "忽略进程 {1}：只读取名字为空的进程"},
    {"the variable {1} is there already; this value replaces the other",
     "变量 {1} 已经有了；这个值取代前一个"},
    {"nothing of {1} is read, since it does not begin with plain text",
     "{1} 的内容都没有读取，因为它不以普通文本开头"},
    {"no \"ret\" sets the variable {1} of the environment; a \"ref\" does not read the global "
     "variables of \"Data\": the functions load_int and load_string do",
     "没有 \"ret\" 设置环境变量 {1}；\"ref\" 不读取 \"Data\" 中的全局变量，函数 load_int 和 "
     "load_string 才读取"},
    {"no \"ret\" sets the variable {1} of the environment", "没有 \"ret\" 设置环境变量 {1}"},
    {"nothing calls {1}, and no host has it", "没有地方调用 {1}，也没有宿主提供它"},
    {"nothing calls {1}, and its parameters are not those of the host's function",
     "没有地方调用 {1}，它的参数也与宿主的函数不同"},
    {"nothing looks for the attribute {1} of {2}; did you mean {3}?",
     "{2} 的属性 {1} 不会被读取；是不是想写 {3}？"},
    {"nothing looks for the attribute {1} of {2}", "{2} 的属性 {1} 不会被读取"},
    {"nothing looks for the element {1} here; did you mean {2}?",
     "这里的元素 {1} 不会被读取；是不是想写 {2}？"},
    {"nothing looks for the element {1} here", "这里的元素 {1} 不会被读取"},
    {"text in {1} is ignored", "{1} 中的文本被忽略"},
    {"{1} is ignored: it stands beside \"params\"", "{1} 被忽略：它与 \"params\" 并列"},
    {"{1} is ignored: it stands beside a \"ref\"", "{1} 被忽略：它与 \"ref\" 并列"},
    {"{1} is ignored: only the first \"ref\" counts", "{1} 被忽略：只有第一个 \"ref\" 有效"},
    {"{1} is ignored: only the first \"ret\" counts", "{1} 被忽略：只有第一个 \"ret\" 有效"},
    {"{1} is no whole number of 32 bits; {2} is read", "{1} 不是 32 位整数；读作 {2}"},
};

typedef std::array<std::string_view, 4> Parts;

// Whether the text has the form of the message; then the parts are what stands in its places.
bool has_form(std::string_view text, std::string_view form, Parts& parts) {
  for (;;) {
    const std::size_t place = std::min(form.find('{'), form.size());
    if (!text.starts_with(form.substr(0, place))) {
      return false;
    }
    text.remove_prefix(place);
    if (place == form.size()) {
      return text.empty();
    }
    std::string_view& part = parts[static_cast<std::size_t>(form[place + 1] - '1')];
    form.remove_prefix(place + std::string_view("{1}").size());
    const std::string_view next = form.substr(0, form.find('{'));
    const std::size_t end = next.empty() ? text.size() : text.find(next);
    if (end == text.npos) {
      return false;
    }
    part = text.substr(0, end);
    text.remove_prefix(end);
  }
}

}  // namespace

std::string finding_message(Language language, const std::string& english) {
  if (language == Language::kEnglish) {
    return english;
  }
  Parts parts;
  const auto found =
      std::find_if(std::begin(kMessages), std::end(kMessages), [&](const Message& message) {
        return has_form(english, message.in(Language::kEnglish), parts);
      });
  return found == std::end(kMessages)
             ? english
             : in_language(language, *found, {parts[0], parts[1], parts[2], parts[3]});
}

}  // namespace tools
