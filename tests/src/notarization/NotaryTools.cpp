#include "NotaryTools.h"

using namespace Qt::StringLiterals;

namespace {

const char* const notaryRequest = R"sh(case "$name $*" in
'xcrun notarytool '*) request=$2 ;;
'xcrun stapler '*) request=$2 ;;
'spctl '*' install '*) request=install ;;
'spctl '*) request=open ;;
'ditto -c -k --keepParent '*) request=archive ;;
*) echo "unexpected: $*" >&2; exit 99 ;;
esac)sh";

const char* const notaryAnswer = R"sh(case "$request" in
submit | wait)
    printf 'Processing complete\n  id: 2efe2717-52ef-43a5-96dc-0797e4ca1041\n  status: Accepted\n' ;;
history) echo 'Successfully received submission history.' ;;
staple) echo 'The staple and validate action worked!' ;;
validate) echo 'The validate action worked!' ;;
install | open) printf '%s: accepted\nsource=Notarized Developer ID\n' "$last" >&2 ;;
archive) echo zip > "$last" ;;
esac)sh";

} // namespace

NotaryTools::NotaryTools(const QString& folder, const QString& toolbox)
    : RecordingTools(folder, toolbox,
        {u"/usr/bin/xcrun"_s, u"/usr/sbin/spctl"_s, u"/usr/bin/ditto"_s}, notaryRequest,
        notaryAnswer)
{ }
