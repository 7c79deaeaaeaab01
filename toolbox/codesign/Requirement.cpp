#include "codesign/Requirement.h"

#include "bytes/ByteReader.h"
#include "bytes/ByteWriter.h"
#include "bytes/FormatError.h"

#include <charconv>

namespace codesign {

using bytes::ByteReader;
using bytes::ByteWriter;
using bytes::FormatError;

namespace {

constexpr uint32_t expressionKind = 1;
constexpr uint32_t opMask = 0x00FFFFFF;
constexpr uint32_t flagUnknownIsFalse = 0x80000000;
constexpr uint32_t flagSkip = 0x40000000;
constexpr int deepest = 200;

std::string readData(ByteReader& in)
{
    const uint32_t length = in.u32();
    std::string data = in.text(length);
    in.skip((4 - length % 4) % 4);
    return data;
}

void writeData(ByteWriter& out, std::string_view data)
{
    out.u32(static_cast<uint32_t>(data.size()));
    out.text(data);
    out.align(4);
}

bool matchHasDate(Match match)
{
    return match >= Match::on && match <= Match::onOrAfter;
}

void readMatch(ByteReader& in, Expression& expression)
{
    const uint32_t number = in.u32();
    if (number > static_cast<uint32_t>(Match::absent))
        in.fail("a requirement with an unknown comparison");
    expression.match = static_cast<Match>(number);
    if (matchHasDate(expression.match))
        expression.date = static_cast<int64_t>(in.u64());
    else if (expression.match != Match::exists && expression.match != Match::absent)
        expression.value = readData(in);
}

void writeMatch(ByteWriter& out, const Expression& expression)
{
    out.u32(static_cast<uint32_t>(expression.match));
    if (matchHasDate(expression.match))
        out.u64(static_cast<uint64_t>(expression.date));
    else if (expression.match != Match::exists && expression.match != Match::absent)
        writeData(out, expression.value);
}

Expression readExpression(ByteReader& in, int depth);

/// An operation of a later system: false, or nothing at all, as its flags say.
Expression readUnknown(ByteReader& in, uint32_t number, int depth)
{
    if ((number & (flagUnknownIsFalse | flagSkip)) == 0)
        in.fail("a requirement with an unknown operation");
    in.skip(in.u32());
    if ((number & flagUnknownIsFalse) != 0)
        return {};
    return readExpression(in, depth + 1);
}

Expression readExpression(ByteReader& in, int depth)
{
    if (depth > deepest)
        in.fail("a requirement nested too deeply");
    const uint32_t number = in.u32();
    if ((number & opMask) > static_cast<uint32_t>(Op::legacy))
        return readUnknown(in, number, depth);

    Expression expression{.op = static_cast<Op>(number & opMask)};
    switch (expression.op) {
    case Op::never:
    case Op::always:
    case Op::appleAnchor:
    case Op::appleGenericAnchor:
    case Op::anchorTrusted:
    case Op::notarized:
    case Op::legacy:
        break;
    case Op::identifier:
    case Op::codeHash:
    case Op::namedAnchor:
    case Op::namedCode:
        expression.key = readData(in);
        break;
    case Op::certificateHash:
        expression.certificate = static_cast<int32_t>(in.u32());
        expression.key = readData(in);
        break;
    case Op::infoKeyValue:
        expression.key = readData(in);
        expression.match = Match::equal;
        expression.value = readData(in);
        break;
    case Op::both:
    case Op::either:
        expression.operands.push_back(readExpression(in, depth + 1));
        expression.operands.push_back(readExpression(in, depth + 1));
        break;
    case Op::negated:
        expression.operands.push_back(readExpression(in, depth + 1));
        break;
    case Op::infoField:
    case Op::entitlementField:
        expression.key = readData(in);
        readMatch(in, expression);
        break;
    case Op::certificateField:
    case Op::certificateExtension:
    case Op::certificatePolicy:
    case Op::certificateTimestamp:
        expression.certificate = static_cast<int32_t>(in.u32());
        expression.key = readData(in);
        readMatch(in, expression);
        break;
    case Op::certificateTrusted:
    case Op::platform:
        expression.certificate = static_cast<int32_t>(in.u32());
        break;
    }
    return expression;
}

void writeExpression(ByteWriter& out, const Expression& expression)
{
    out.u32(static_cast<uint32_t>(expression.op));
    switch (expression.op) {
    case Op::never:
    case Op::always:
    case Op::appleAnchor:
    case Op::appleGenericAnchor:
    case Op::anchorTrusted:
    case Op::notarized:
    case Op::legacy:
        break;
    case Op::identifier:
    case Op::codeHash:
    case Op::namedAnchor:
    case Op::namedCode:
        writeData(out, expression.key);
        break;
    case Op::certificateHash:
        out.u32(static_cast<uint32_t>(expression.certificate));
        writeData(out, expression.key);
        break;
    case Op::infoKeyValue:
        writeData(out, expression.key);
        writeData(out, expression.value);
        break;
    case Op::both:
    case Op::either:
    case Op::negated:
        for (const Expression& operand : expression.operands)
            writeExpression(out, operand);
        break;
    case Op::infoField:
    case Op::entitlementField:
        writeData(out, expression.key);
        writeMatch(out, expression);
        break;
    case Op::certificateField:
    case Op::certificateExtension:
    case Op::certificatePolicy:
    case Op::certificateTimestamp:
        out.u32(static_cast<uint32_t>(expression.certificate));
        writeData(out, expression.key);
        writeMatch(out, expression);
        break;
    case Op::certificateTrusted:
    case Op::platform:
        out.u32(static_cast<uint32_t>(expression.certificate));
        break;
    }
}

Expression both(Expression left, Expression right)
{
    Expression expression{.op = Op::both};
    expression.operands.push_back(std::move(left));
    expression.operands.push_back(std::move(right));
    return expression;
}

Expression extensionExists(int32_t certificate, std::string_view dotted)
{
    return {.op = Op::certificateExtension, .certificate = certificate, .key = oidBytes(dotted)};
}

constexpr std::string_view developerIdIntermediate = "1.2.840.113635.100.6.2.6";
constexpr std::string_view developerIdLeaf = "1.2.840.113635.100.6.1.13";
constexpr std::string_view developmentIntermediate = "1.2.840.113635.100.6.2.1";

} // namespace

Expression readRequirement(std::span<const std::byte> blob)
{
    ByteReader in(blobContent(blob, Magic::requirement), 8);
    if (in.u32() != expressionKind)
        in.fail("a requirement of another form than an expression");
    Expression expression = readExpression(in, 0);
    if (!in.atEnd())
        in.fail("bytes behind the requirement");
    return expression;
}

Blob writeRequirement(const Expression& expression)
{
    ByteWriter out;
    out.u32(expressionKind);
    writeExpression(out, expression);
    return makeBlob(Magic::requirement, out.bytes());
}

std::string oidBytes(std::string_view dotted)
{
    std::vector<uint64_t> arcs;
    const char* at = dotted.data();
    const char* end = at + dotted.size();
    while (at < end) {
        uint64_t arc = 0;
        const auto [next, error] = std::from_chars(at, end, arc);
        if (error != std::errc{} || (next < end && (*next != '.' || next + 1 == end)))
            throw FormatError("not an object identifier: " + std::string(dotted));
        arcs.push_back(arc);
        at = next < end ? next + 1 : end;
    }
    if (arcs.size() < 2 || arcs[0] > 2 || arcs[1] > 1000)
        throw FormatError("not an object identifier: " + std::string(dotted));

    arcs[1] += arcs[0] * 40;
    std::string content;
    for (std::size_t i = 1; i < arcs.size(); ++i) {
        std::string septets;
        uint64_t arc = arcs[i];
        do {
            septets.insert(
                septets.begin(), static_cast<char>((arc & 0x7F) | (septets.empty() ? 0U : 0x80U)));
            arc >>= 7;
        } while (arc != 0);
        content += septets;
    }
    return content;
}

std::string oidText(std::string_view content)
{
    std::string text;
    uint64_t arc = 0;
    bool first = true;
    for (const char raw : content) {
        const auto byte = static_cast<uint8_t>(raw);
        arc = arc << 7 | (byte & 0x7FU);
        if ((byte & 0x80) != 0)
            continue;
        if (first) {
            const uint64_t head = arc < 80 ? arc / 40 : 2;
            text = std::to_string(head) + "." + std::to_string(arc - head * 40);
            first = false;
        } else {
            text += "." + std::to_string(arc);
        }
        arc = 0;
    }
    return text;
}

Expression developerIdRequirement(const std::string& identifier, const std::string& team)
{
    Expression ofTeam{.op = Op::certificateField,
        .certificate = leafCertificate,
        .key = "subject.OU",
        .match = Match::equal,
        .value = team};
    return both({.op = Op::identifier, .key = identifier},
        both({.op = Op::appleGenericAnchor},
            both(extensionExists(1, developerIdIntermediate),
                both(extensionExists(leafCertificate, developerIdLeaf), std::move(ofTeam)))));
}

Expression developmentRequirement(const std::string& identifier, const std::string& commonName)
{
    return both({.op = Op::identifier, .key = identifier},
        both({.op = Op::appleGenericAnchor},
            both({.op = Op::certificateField,
                     .certificate = leafCertificate,
                     .key = "subject.CN",
                     .match = Match::equal,
                     .value = commonName},
                extensionExists(1, developmentIntermediate))));
}

Expression privateChainRequirement(
    const std::string& identifier, int32_t certificate, const std::string& sha1)
{
    return both({.op = Op::identifier, .key = identifier},
        {.op = Op::certificateHash, .certificate = certificate, .key = sha1});
}

Expression codeHashRequirement(const std::vector<std::string>& hashes)
{
    Expression result;
    for (const std::string& hash : hashes) {
        Expression one{.op = Op::codeHash, .key = hash};
        if (result.op == Op::never) {
            result = std::move(one);
            continue;
        }
        Expression joined{.op = Op::either};
        joined.operands.push_back(std::move(result));
        joined.operands.push_back(std::move(one));
        result = std::move(joined);
    }
    return result;
}

Blob requirementSet(const std::optional<Expression>& designated)
{
    SuperBlob set;
    set.magic = Magic::requirementSet;
    if (designated) {
        set.blobs.emplace(
            static_cast<uint32_t>(RequirementKind::designated), writeRequirement(*designated));
    }
    return set.write();
}

std::optional<Expression> designatedRequirement(std::span<const std::byte> set)
{
    const SuperBlob blobs = SuperBlob::read(set, Magic::requirementSet);
    const auto found = blobs.blobs.find(static_cast<uint32_t>(RequirementKind::designated));
    if (found == blobs.blobs.end())
        return std::nullopt;
    return readRequirement(found->second);
}

} // namespace codesign
