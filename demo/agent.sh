#!/bin/sh
# Stands for the agent: a background process that does nothing but live.
while :; do
    sleep 60
done
