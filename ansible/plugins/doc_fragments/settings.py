# Settings and results that the modules of this collection have in common.


class ModuleDocFragment:
    """Named `veltaro.kzm.settings` in a module."""

    DOCUMENTATION = """
options:
  settings:
    description:
      - What is to be set. Only what is given is changed.
      - The names are those of the class definitions (VELTARO_LoggerConf) in snake case.
      - What M(veltaro.kzm.logger_settings_info) returns as C(settings) can be given here as it is.
    type: dict
    suboptions:
      syslog_output_conf:
        description: The output of alerts to syslog.
        type: dict
        suboptions:
          syslog_output:
            description: The agent writes alerts to syslog at all.
            type: bool
          information_alert:
            description: Alerts of severity information are written to syslog.
            type: bool
          warning_alert:
            description: Alerts of severity warning are written to syslog.
            type: bool
          obstacle_alert:
            description: Alerts of severity obstacle are written to syslog.
            type: bool
      usage_monitor_conf_cpu:
        description: The monitoring of the CPU usage.
        type: dict
        suboptions: &usage
          monitoring_enable:
            description: The usage is monitored.
            type: bool
          sampling_interval:
            description: Time between two samples, in the agent's own unit.
            type: int
          sampling_count:
            description: Number of samples.
            type: int
          threshold:
            description: Usage at which an alert is raised, in percent.
            type: int
      usage_monitor_conf_memory:
        description: The monitoring of the memory usage.
        type: dict
        suboptions: *usage
      fs_usage_monitor_conf:
        description: The monitoring of the file-system usage.
        type: dict
        suboptions:
          monitoring_enable:
            description: The usage of file systems is monitored at all.
            type: bool
          sampling_interval:
            description: Time between two samples, in the agent's own unit.
            type: int
          sampling_count:
            description: Number of samples.
            type: int
          fs_threshold_conf_list:
            description: File systems. Those that are not named stay as they are.
            type: list
            elements: dict
            suboptions:
              volume_name:
                description: Mount point of the file system, for example C(/home).
                type: str
              volume_name_bytes:
                description: The mount point in hexadecimal, where it is not UTF-8.
                type: str
              threshold:
                description: Usage at which an alert is raised, in percent.
                type: int
              vol_monitoring_enable:
                description: The usage of this file system is monitored.
                type: bool
  skip_unmounted:
    description:
      - Leave out the file systems of I(settings) that are not mounted on the host, with a warning.
      - Without it such settings are refused.
    type: bool
    default: false
  force:
    description: Go on where a value looks like a slip, or more is lost than was asked for.
    type: bool
    default: false
"""
