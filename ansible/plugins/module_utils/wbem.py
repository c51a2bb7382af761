"""Calls GetParameter and SetParameter of a management server, as CIM-XML over HTTPS."""

import re
from xml.etree import ElementTree
from xml.sax.saxutils import escape

from ansible.module_utils.urls import open_url

from ansible_collections.veltaro.kzm.plugins.module_utils import settings
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure

CLASS = "VELTARO_ToolServiceLogger"
NAMESPACE = ("root", "cimv2")
PARAMETER = "LoggerConf"

# The classes of the records that are embedded in VELTARO_LoggerConf.
CLASSES = {
    "SyslogOutputConf": "VELTARO_LoggerSyslogOutputConf",
    "UsageMonitorConfCpu": "VELTARO_LoggerUsageMonitorConf",
    "UsageMonitorConfMemory": "VELTARO_LoggerUsageMonitorConf",
    "FsUsageMonitorConf": "VELTARO_LoggerFsUsageMonitorConf",
    settings.VOLUMES: "VELTARO_LoggerFsThresholdConf",
}

# Results of the methods, with the names that loggerctl has for them.
RESULTS = {
    176: ("not-installed", "The log-monitoring agent is not installed."),
    0x80000001: ("failure", "The method failed on the host."),
    0x80000002: ("exception", "The provider caught an exception during the call."),
}


# ---- Records as text ----


def instance(record):
    """All settings, as an embedded instance of VELTARO_LoggerConf."""
    return _element("INSTANCE", {"CLASSNAME": "VELTARO_LoggerConf"},
                    "".join(_embedded(part, members, record[part])
                            for part, members in settings.PARTS))


def _embedded(part, members, record):
    text = _scalars(members, record)
    if part == settings.FILE_SYSTEMS:
        text += _property("PROPERTY.ARRAY", settings.VOLUMES, "string", _element(
            "VALUE.ARRAY", {}, "".join(_value(_volume(volume))
                                       for volume in record[settings.VOLUMES])), is_embedded=True)
    return _property("PROPERTY", part, "string", _value(_instance(part, text)), is_embedded=True)


def _volume(record):
    name = _property("PROPERTY", settings.NAME, "string", _value(volume_name(record)))
    return _instance(settings.VOLUMES, name + _scalars(settings.VOLUME, record))


def volume_name(record):
    """The name as the server reads it back: a backslash twice, other than printable ASCII as bytes."""
    if settings.NAME in record:
        name = record[settings.NAME].encode("utf-8")
    else:
        name = bytes.fromhex(record[settings.NAME_BYTES])
    return "".join("\\\\" if byte == 0x5C else chr(byte) if 0x20 <= byte < 0x7F else f"\\x{byte:02X}"
                   for byte in name)


def _scalars(members, record):
    return "".join(_property("PROPERTY", name, kind, _value(str(record[name]).upper()))
                   for name, kind in members)


def _instance(name, text):
    return _element("INSTANCE", {"CLASSNAME": CLASSES[name]}, text)


def _property(element, name, kind, content, is_embedded=False):
    attributes = {"NAME": name, "TYPE": kind}
    if is_embedded:
        attributes["EmbeddedObject"] = "instance"
    return _element(element, attributes, content)


def _value(text):
    return _element("VALUE", {}, escape(text))


def _element(name, attributes, content):
    return "".join(["<", name, *(f' {key}="{value}"' for key, value in attributes.items()), ">",
                    content, "</", name, ">"])


# ---- Texts as records ----


def record_of(text):
    """What an embedded instance of VELTARO_LoggerConf holds, as the tool's record."""
    record = _properties(ElementTree.fromstring(text))
    for part, members in settings.PARTS:
        record[part] = _typed(members, _properties(ElementTree.fromstring(record[part])))
    file_systems = record[settings.FILE_SYSTEMS]
    volumes = file_systems.get(settings.VOLUMES, [])
    file_systems[settings.VOLUMES] = [
        named(_typed(settings.VOLUME, _properties(ElementTree.fromstring(volume))))
        for volume in volumes]
    return record


def _properties(element):
    found = {}
    for child in element:
        if child.tag == "PROPERTY.ARRAY":
            found[child.get("NAME")] = [value.text or "" for value in child.iter("VALUE")]
        else:
            found[child.get("NAME")] = child.findtext("VALUE") or ""
    return found


def _typed(members, record):
    for name, kind in members:
        record[name] = record[name].upper() == "TRUE" if kind == "boolean" else int(record[name])
    return record


def named(volume):
    """A file system of an answer, with its name as the record has it."""
    name = _bytes_of(volume.pop(settings.NAME))
    try:
        return {settings.NAME: name.decode("utf-8"), **volume}
    except UnicodeDecodeError:
        return {settings.NAME_BYTES: name.hex(), **volume}


def _bytes_of(text):
    """The bytes of a string of the server, which writes some of them as \\xHH and a backslash twice."""
    return re.sub(rb"\\(\\|x[0-9A-Fa-f]{2})",
                  lambda found: b"\\" if found[1] == b"\\" else bytes.fromhex(found[1][1:].decode()),
                  text.encode("utf-8"))


# ---- Calls ----


def request(method, parameters=""):
    """The body of a method call."""
    path = "".join(f'<NAMESPACE NAME="{name}"/>' for name in NAMESPACE)
    return ('<?xml version="1.0" encoding="utf-8" ?>\n'
            '<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" PROTOCOLVERSION="1.0"><SIMPLEREQ>'
            f'<METHODCALL NAME="{method}"><LOCALCLASSPATH><LOCALNAMESPACEPATH>{path}'
            f'</LOCALNAMESPACEPATH><CLASSNAME NAME="{CLASS}"/></LOCALCLASSPATH>{parameters}'
            '</METHODCALL></SIMPLEREQ></MESSAGE></CIM>').encode("ascii")


def in_parameter(record):
    """The settings as the parameter of SetParameter."""
    return _element("PARAMVALUE", {"NAME": PARAMETER, "PARAMTYPE": "string",
                                   "EmbeddedObject": "instance"}, _value(instance(record)))


def read_answer(body):
    """The text of the parameter that a method's answer holds, if any; a Failure where it failed."""
    try:
        answer = ElementTree.fromstring(body)
    except ElementTree.ParseError as problem:
        raise Failure(f"The server's answer is no XML: {problem}.") from problem
    error = answer.find(".//ERROR")
    if error is not None:
        code = int(error.get("CODE", "1"))
        reason = error.get("DESCRIPTION", "")
        raise Failure(f"The server answers with error {code}: {reason}",
                      error={"code": code, "name": "cim-error", "message": reason, "reasons": []})
    result = answer.findtext(".//RETURNVALUE/VALUE")
    if result is None:
        raise Failure("The server's answer is none to a method call.")
    if int(result) != 0:
        name, sentence = RESULTS.get(int(result), ("unknown", "The method failed."))
        raise Failure(f"{sentence} Its result is {result}. On the host, \"loggerctl service status\" and "
                      "\"loggerctl history\" tell more.",
                      error={"code": int(result), "name": name, "message": sentence, "reasons": []})
    return answer.findtext(".//PARAMVALUE/VALUE")


class Server:
    """A host's management server. The options are those of the module."""

    def __init__(self, options):
        self._options = options

    def get(self):
        """All settings."""
        return record_of(self._call("GetParameter"))

    def set(self, record):
        """Replaces all settings."""
        self._call("SetParameter", in_parameter(record))

    def _call(self, method, parameters=""):
        options = self._options
        headers = {"Content-Type": 'application/xml; charset="utf-8"', "CIMOperation": "MethodCall",
                   "CIMMethod": method, "CIMObject": "/".join(NAMESPACE) + ":" + CLASS}
        try:
            answer = open_url(options["url"], data=request(method, parameters), headers=headers,
                              method="POST", timeout=options["timeout"], force_basic_auth=True,
                              url_username=options["username"], url_password=options["password"],
                              ca_path=options["ca_path"], validate_certs=options["validate_certs"],
                              use_proxy=False, follow_redirects="none")
            body = answer.read()
        except Exception as problem:  # open_url has many kinds
            raise Failure(f"{method} of {options['url']}: {problem}", status=getattr(
                problem, "code", None)) from problem
        return read_answer(body)
