// SPDX-License-Identifier: Apache-2.0
#include "ifc/BuildingModel.h"

namespace norvex::ifc {

std::string_view DiagnosticCodeName(DiagnosticCode code) {
    switch (code) {
        case DiagnosticCode::None:
            return "none";
        case DiagnosticCode::CannotOpen:
            return "cannot-open";
        case DiagnosticCode::FileTooLarge:
            return "file-too-large";
        case DiagnosticCode::EmptyFile:
            return "empty-file";
        case DiagnosticCode::NotPart21:
            return "not-part21";
        case DiagnosticCode::NotIfc:
            return "not-ifc";
        case DiagnosticCode::NoInstances:
            return "no-instances";
        case DiagnosticCode::BrokenHeader:
            return "broken-header";
        case DiagnosticCode::BrokenInstance:
            return "broken-instance";
        case DiagnosticCode::IdOutOfRange:
            return "id-out-of-range";
        case DiagnosticCode::DuplicateId:
            return "duplicate-id";
        case DiagnosticCode::TooDeep:
            return "too-deep";
        case DiagnosticCode::UnterminatedString:
            return "unterminated-string";
        case DiagnosticCode::UnterminatedComment:
            return "unterminated-comment";
        case DiagnosticCode::Truncated:
            return "truncated";
        case DiagnosticCode::BadText:
            return "bad-text";
        case DiagnosticCode::DanglingReference:
            return "dangling-reference";
        case DiagnosticCode::CyclicReference:
            return "cyclic-reference";
        case DiagnosticCode::BadUnit:
            return "bad-unit";
        case DiagnosticCode::NoStorey:
            return "no-storey";
        case DiagnosticCode::NoGeometry:
            return "no-geometry";
        case DiagnosticCode::BadGeometry:
            return "bad-geometry";
        case DiagnosticCode::RepeatedGlobalId:
            return "repeated-global-id";
        case DiagnosticCode::BadPort:
            return "bad-port";
        case DiagnosticCode::LimitReached:
            return "limit-reached";
    }
    return "none";
}

std::string_view SeverityName(Severity severity) {
    switch (severity) {
        case Severity::Note:
            return "note";
        case Severity::Warning:
            return "warning";
        case Severity::Error:
            return "error";
    }
    return "note";
}

std::string_view ElementKindName(ElementKind kind) {
    switch (kind) {
        case ElementKind::Segment:
            return "segment";
        case ElementKind::Fitting:
            return "fitting";
        case ElementKind::InlineDevice:
            return "in-line device";
        case ElementKind::Equipment:
            return "equipment";
        case ElementKind::Terminal:
            return "terminal";
        case ElementKind::Other:
            return "other";
    }
    return "other";
}

std::string_view EndEvidenceName(EndEvidence evidence) {
    switch (evidence) {
        case EndEvidence::None:
            return "none";
        case EndEvidence::Ports:
            return "ports";
        case EndEvidence::Extrusion:
            return "extrusion";
        case EndEvidence::SweptDisk:
            return "swept disk";
        case EndEvidence::Axis:
            return "axis";
        case EndEvidence::BodyBox:
            return "body box";
    }
    return "none";
}

std::string_view ConnectionEvidenceName(ConnectionEvidence evidence) {
    switch (evidence) {
        case ConnectionEvidence::Stated:
            return "stated";
        case ConnectionEvidence::EndToEnd:
            return "end to end";
        case ConnectionEvidence::InsideBody:
            return "inside body";
        case ConnectionEvidence::OnAxis:
            return "on axis";
    }
    return "stated";
}

std::string_view NoStoreyReasonText(NoStoreyReason reason) {
    switch (reason) {
        case NoStoreyReason::Placed:
            return "it lies on a storey";
        case NoStoreyReason::NotContained:
            return "no relation places it";
        case NoStoreyReason::OutsideStoreys:
            return "it is contained above the storeys";
        case NoStoreyReason::BrokenContainment:
            return "its chain of containers leads nowhere";
    }
    return "no relation places it";
}

}  // namespace norvex::ifc
