"""The CIM-XML of requests and answers."""

import unittest
from xml.etree import ElementTree

from ansible_collections.veltaro.kzm.plugins.module_utils import settings, wbem
from ansible_collections.veltaro.kzm.plugins.module_utils.failure import Failure


def sample(*volumes):
    """A record with these file systems."""
    usage = {"MonitoringEnable": True, "SamplingInterval": 60, "SamplingCount": 5, "Threshold": 90}
    return {
        "SyslogOutputConf": {"SyslogOutput": True, "InformationAlert": False, "WarningAlert": True,
                             "ObstacleAlert": True},
        "UsageMonitorConfCpu": dict(usage),
        "UsageMonitorConfMemory": dict(usage, MonitoringEnable=False, Threshold=-3),
        "FsUsageMonitorConf": {"MonitoringEnable": True, "SamplingInterval": 4294967295,
                               "SamplingCount": 2, "FsThresholdConfList": list(volumes)},
    }


def volume(name, **others):
    """A file system."""
    return {"VolumeName": name, "Threshold": 80, "VolMonitoringEnable": False, **others}


def answer(content):
    """The body of an answer to a method call."""
    return ('<?xml version="1.0" encoding="utf-8"?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" '
            'PROTOCOLVERSION="1.0"><SIMPLERSP><METHODRESPONSE NAME="GetParameter">'
            f"{content}</METHODRESPONSE></SIMPLERSP></MESSAGE></CIM>").encode("utf-8")


class Text(unittest.TestCase):
    """Records as text, and back."""

    def test_round_trip(self):
        record = sample(volume("/"), volume("/a b<&>\"'\\x41\\"), volume("/\u00e4\u4e16\n\x01"),
                        {"VolumeNameBytes": "2fff41", "Threshold": 1, "VolMonitoringEnable": True})
        self.assertEqual(record, wbem.record_of(wbem.instance(record)))
        self.assertEqual(sample(), wbem.record_of(wbem.instance(sample())))

    def test_names_are_written_as_the_server_reads_them(self):
        rows = [({"VolumeName": "/home"}, "/home"), ({"VolumeName": "/a\\b"}, "/a\\\\b"),
                ({"VolumeName": "/\u00e4"}, "/\\xC3\\xA4"), ({"VolumeName": "/\n<&"}, "/\\x0A<&"),
                ({"VolumeNameBytes": "2fff"}, "/\\xFF"),
                ({"VolumeName": "/ ~\x7f"}, "/ ~\\x7F")]
        for record, text in rows:
            with self.subTest(record):
                self.assertEqual(text, wbem.volume_name(record))

    def test_texts_of_the_server(self):
        rows = [("/a\\\\b\\x0A\\xC3\\xA4", "VolumeName", "/a\\b\n\u00e4"),
                ("/\u00e4", "VolumeName", "/\u00e4"), ("/\\xFF", "VolumeNameBytes", "2fff")]
        for text, member, name in rows:
            with self.subTest(text):
                self.assertEqual(name, wbem.named({"VolumeName": text})[member])

    def test_the_request(self):
        body = ElementTree.fromstring(wbem.request("SetParameter", wbem.in_parameter(sample())))
        call = body.find("./MESSAGE/SIMPLEREQ/METHODCALL")
        self.assertEqual("SetParameter", call.get("NAME"))
        self.assertEqual(["root", "cimv2"], [name.get("NAME") for name in call.iter("NAMESPACE")])
        self.assertEqual("VELTARO_ToolServiceLogger",
                         call.find("./LOCALCLASSPATH/CLASSNAME").get("NAME"))
        parameter = call.find("PARAMVALUE")
        self.assertEqual({"NAME": "LoggerConf", "PARAMTYPE": "string", "EmbeddedObject": "instance"},
                         parameter.attrib)
        self.assertEqual(sample(), wbem.record_of(parameter.findtext("VALUE")))

    def test_embedded_instances_say_what_they_are(self):
        instance = ElementTree.fromstring(wbem.instance(sample(volume("/"))))
        parts = instance.findall("PROPERTY")
        self.assertEqual([("string", "instance")] * 4,
                         [(part.get("TYPE"), part.get("EmbeddedObject")) for part in parts])
        file_systems = ElementTree.fromstring(parts[-1].findtext("VALUE"))
        self.assertEqual({"NAME": "FsThresholdConfList", "TYPE": "string",
                          "EmbeddedObject": "instance"}, file_systems.find("PROPERTY.ARRAY").attrib)

    def test_types(self):
        instance = ElementTree.fromstring(wbem.instance(sample()))
        part = ElementTree.fromstring(instance.findall("PROPERTY")[2].findtext("VALUE"))
        self.assertEqual([("MonitoringEnable", "boolean", "FALSE"), ("SamplingInterval", "uint32", "60"),
                          ("SamplingCount", "uint32", "5"), ("Threshold", "sint32", "-3")],
                         [(child.get("NAME"), child.get("TYPE"), child.findtext("VALUE"))
                          for child in part])


class Answers(unittest.TestCase):
    """Answers of the server."""

    def test_success(self):
        returned = '<RETURNVALUE PARAMTYPE="uint32"><VALUE>0</VALUE></RETURNVALUE>'
        self.assertIsNone(wbem.read_answer(answer(returned)))
        self.assertEqual("<I/>", wbem.read_answer(answer(
            returned + '<PARAMVALUE NAME="LoggerConf"><VALUE>&lt;I/&gt;</VALUE></PARAMVALUE>')))

    def test_failures(self):
        def returned(value):
            return f'<RETURNVALUE PARAMTYPE="uint32"><VALUE>{value}</VALUE></RETURNVALUE>'
        rows = [
            (returned(176), "not installed", "not-installed"),
            (returned(2147483649), "failed on the host", "failure"),
            (returned(2147483650), "exception", "exception"),
            (returned(7), "Its result is 7", "unknown"),
            ('<ERROR CODE="2" DESCRIPTION="No rights."/>', "error 2: No rights.", "cim-error"),
        ]
        for content, message, name in rows:
            with self.subTest(content):
                with self.assertRaisesRegex(Failure, message) as raised:
                    wbem.read_answer(answer(content))
                self.assertEqual(name, raised.exception.details["error"]["name"])
        for body in (b"", b"<html>", answer("")):
            with self.subTest(body), self.assertRaisesRegex(Failure, "server's answer is n"):
                wbem.read_answer(body)


class Names(unittest.TestCase):
    """Options and properties."""

    def test_snake_case(self):
        rows = [("SyslogOutputConf", "syslog_output_conf"), ("VolMonitoringEnable", "vol_monitoring_enable"),
                ("FsThresholdConfList", "fs_threshold_conf_list"), ("Id", "id")]
        for name, option in rows:
            self.assertEqual(option, settings.snake(name))

    def test_options_and_records(self):
        record = sample(volume("/"))
        self.assertEqual(record, settings.to_record(settings.from_record(record)))
        self.assertEqual({"UsageMonitorConfCpu": {}}, settings.to_record(
            {"usage_monitor_conf_cpu": {"threshold": None}, "syslog_output_conf": None}))


if __name__ == "__main__":
    unittest.main()
