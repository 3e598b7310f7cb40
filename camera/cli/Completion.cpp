#include "camera/cli/Command.h"
#include "camera/cli/CommandShape.h"

#include <set>

namespace camera::cli {

namespace {

// What may follow what was typed so far; "FILE" stands for any file.
using Followers = std::map<std::string, std::set<std::string>>;

constexpr const char* kFile = "FILE";

void addOptions(const Command& command, std::set<std::string>& words)
{
    for (const CommandOption& option : command.options) {
        words.insert(option.name);
    }
    words.insert({"--camera", "--timeout", "--help"});
    if (command.listing) {
        words.insert("--json");
    }
}

// The table by which both shells complete, from the one table of commands.
Followers followers()
{
    Followers all;
    for (const Command& command : commands()) {
        const std::size_t blank = command.name.find(' ');
        all[""].insert(command.name.substr(0, blank));
        if (blank != std::string::npos) {
            all[command.name.substr(0, blank)].insert(command.name.substr(blank + 1));
        }
        std::set<std::string>& words = all[command.name];
        for (const CommandWord& word : shapeOf(command)) {
            words.insert(word.choices.begin(), word.choices.end());
            if (word.text == kFile || word.text == "INPUT") {
                words.insert(kFile);
            }
        }
        if (!command.raw) {
            addOptions(command, words);
        }
    }
    all["config"] = {"set", "get", "rules", "modules", "history", "restore", "reset", "default"};
    all["config set"] = {kFile, "--state", "--camera", "--timeout"};
    all["config get"] = {"--preset", "--state", "--camera", "--timeout"};
    all["run"].insert({"--state", "--config", "--ptz", "--preset", "--help"});
    return all;
}

// The branches of the case statement that both shells share; each sets "next" and perhaps "files".
std::string branches()
{
    std::string text;
    for (const auto& [typed, words] : followers()) {
        std::string next;
        bool files = false;
        for (const std::string& word : words) {
            files = files || word == kFile;
            next += word == kFile ? "" : (next.empty() ? "" : " ") + word;
        }
        text += "    '" + typed + "') next='" + next + "'" + (files ? "; files=1" : "") + " ;;\n";
    }
    return text;
}

// Of what was typed the branches know one word or two.
std::string bashScript()
{
    return "# Completion of the program camera for bash: source <(camera completion bash)\n"
           "_camera_next() {\n"
           "    next= files=\n"
           "    case \"$1\" in\n" +
           branches() +
           "    *) return 1 ;;\n"
           "    esac\n"
           "}\n"
           "_camera() {\n"
           "    local next files current=\"${COMP_WORDS[COMP_CWORD]}\" before=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
           "    COMPREPLY=()\n"
           "    if [ \"$before\" = --camera ] || [ \"$before\" = --state ] || [ \"$before\" = --frames-dir ]; then\n"
           "        COMPREPLY=($(compgen -d -- \"$current\"))\n"
           "        return\n"
           "    fi\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
           "        _camera_next ''\n"
           "    elif [ \"$COMP_CWORD\" -eq 2 ] || ! _camera_next \"${COMP_WORDS[1]} ${COMP_WORDS[2]}\"; then\n"
           "        _camera_next \"${COMP_WORDS[1]}\" || return\n"
           "    fi\n"
           "    COMPREPLY=($(compgen -W \"$next\" -- \"$current\"))\n"
           "    if [ -n \"$files\" ]; then\n"
           "        COMPREPLY+=($(compgen -f -- \"$current\"))\n"
           "    fi\n"
           "}\n"
           "complete -o filenames -F _camera camera\n";
}

std::string zshScript()
{
    return "#compdef camera\n"
           "# Completion of the program camera for zsh: source <(camera completion zsh)\n"
           "_camera_next() {\n"
           "    next= files=\n"
           "    case \"$1\" in\n" +
           branches() +
           "    (*) return 1 ;;\n"
           "    esac\n"
           "}\n"
           "_camera() {\n"
           "    local next files\n"
           "    if (( CURRENT == 2 )); then\n"
           "        _camera_next ''\n"
           "    elif (( CURRENT == 3 )) || ! _camera_next \"${words[2]} ${words[3]}\"; then\n"
           "        _camera_next \"${words[2]}\" || return\n"
           "    fi\n"
           "    compadd -- ${=next}\n"
           "    [[ -n \"$files\" ]] && _files\n"
           "}\n"
           "compdef _camera camera\n";
}

} // namespace

std::string completionScript(const std::string& shell)
{
    return shell == "bash" ? bashScript() : zshScript();
}

} // namespace camera::cli
