# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""The clients of tools/soak. Usage: soak.py SECONDS COMMAND..."""
import collections, http.client, http.server, os, queue, random, re, signal, socket, statistics, struct, subprocess, sys
import threading, time

seconds = float(sys.argv[1])
server = subprocess.Popen(sys.argv[2:], stdout=subprocess.PIPE, text=True)
port = int(server.stdout.readline().rpartition(":")[2])
end = time.monotonic() + seconds
PARTITIONS = ["1*8205-E6C*10F2A3T", "2*8205-E6C*10F2A3T", "1*9117-MMC*06B4C1R", "2*8231-E2D*21C9D7P"]
problems = queue.Queue()
counts = collections.Counter()
sent, came = collections.Counter(), collections.Counter()
namespaces = '<LOCALNAMESPACEPATH><NAMESPACE NAME="root"/><NAMESPACE NAME="%s"/></LOCALNAMESPACEPATH>'


def message(inner):
    return ('<?xml version="1.0" encoding="utf-8" ?><CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1" '
            'PROTOCOLVERSION="1.0"><SIMPLEREQ>%s</SIMPLEREQ></MESSAGE></CIM>' % inner).encode()


def intrinsic(method, parameter, value, namespace="velmar_remote", **numbers):
    more = "".join('<IPARAMVALUE NAME="%s"><VALUE>%d</VALUE></IPARAMVALUE>' % one for one in numbers.items())
    return method, "root/" + namespace, message('<IMETHODCALL NAME="%s">%s<IPARAMVALUE NAME="%s">%s</IPARAMVALUE>%s</IMETHODCALL>'
                                                % (method, namespaces % namespace, parameter, value, more))


def instance_name(class_name, keys):
    return '<INSTANCENAME CLASSNAME="%s">%s</INSTANCENAME>' % (class_name, "".join(
        '<KEYBINDING NAME="%s">%s</KEYBINDING>' % (k, v if v[:1] == "<" else "<KEYVALUE>%s</KEYVALUE>" % v) for k, v in keys.items()))


def state_change(name, state):
    return "RequestStateChange", 'root/velmar_remote:QORP_LPAR_CS.Name="%s"' % name, message(
        '<METHODCALL NAME="RequestStateChange"><LOCALINSTANCEPATH>%s%s</LOCALINSTANCEPATH><PARAMVALUE NAME="RequestedState" '
        'PARAMTYPE="uint16"><VALUE>%d</VALUE></PARAMVALUE></METHODCALL>'
        % (namespaces % "velmar_remote", instance_name("QORP_LPAR_CS", {"Name": name}), state))


def call(connection, request, wanted):
    method, place, body = request
    connection.request("POST", "/cimom", body, {"Content-Type": "application/xml", "CIMOperation": "MethodCall",
                                                "CIMMethod": method, "CIMObject": place})
    response = connection.getresponse()
    answer = response.read()
    counts[method] += 1
    if response.status != 200 or wanted not in answer:
        problems.put("%s: %d %r" % (method, response.status, answer[:300]))
    return answer


OPEN = "OpenEnumerateInstances", "ClassName", '<CLASSNAME NAME="QORP_ComputerSystem"/>'


def pull(connection, wanted):
    answer = whole = call(connection, intrinsic(*OPEN, MaxObjectCount=3), b"EndOfSequence")
    while context := re.search(rb'"EnumerationContext">\s*<VALUE>([^<]+)', answer):
        answer = call(connection, intrinsic("PullInstancesWithPath", "EnumerationContext", "<VALUE>%s</VALUE>" % context[1].decode(),
                                            MaxObjectCount=2), b"EndOfSequence")
        whole += answer
    if wanted not in whole:
        problems.put("pulls without %s" % wanted)


class Listener(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    last = {}  # the number of the last alert of each partition, whose alerts come one after the other

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"])).decode()
        number = int(re.search(r'"IndicationIdentifier"[^>]*>\s*<VALUE>(\d+)', body)[1])
        name = re.search(r"<KEYVALUE[^>]*>([^<]*)", body)[1]
        if number <= Listener.last.get(name, -1):
            problems.put("alert %d came after %d" % (number, Listener.last[name]))
        Listener.last[name] = number
        came["alerts"] += 1
        self.send_response(200)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def log_message(self, *_):
        pass


def subscribe():
    listener = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Listener)
    threading.Thread(target=listener.serve_forever, daemon=True).start()
    connection = http.client.HTTPConnection("127.0.0.1", port)
    ends = {"CIM_IndicationFilter": {"Query": "SELECT * FROM QOR_SiteAlert", "QueryLanguage": "WQL",
                                     "SourceNamespace": "root/velmar_remote"},
            "CIM_ListenerDestinationCIMXML": {"Destination": "http://127.0.0.1:%d" % listener.server_address[1]}}
    references = ""
    for role, (class_name, properties) in zip(("Filter", "Handler"), ends.items()):
        keys = {"SystemCreationClassName": "S", "SystemName": "h", "CreationClassName": class_name, "Name": "soak"}
        call(connection, intrinsic("CreateInstance", "NewInstance", '<INSTANCE CLASSNAME="%s">%s</INSTANCE>' % (class_name, "".join(
            '<PROPERTY NAME="%s" TYPE="string"><VALUE>%s</VALUE></PROPERTY>' % kv for kv in {**keys, **properties}.items())),
            "PG_InterOp"), b"<INSTANCENAME")
        references += '<PROPERTY.REFERENCE NAME="%s"><VALUE.REFERENCE>%s</VALUE.REFERENCE></PROPERTY.REFERENCE>' % (
            role, instance_name(class_name, keys))
    call(connection, intrinsic("CreateInstance", "NewInstance", '<INSTANCE CLASSNAME="CIM_IndicationSubscription">%s</INSTANCE>'
                               % references, "PG_InterOp"), b"<INSTANCENAME")


def good(name):
    try:
        ask_until_the_end(name)
    except Exception as e:
        problems.put("a good client was given up: %r" % e)


def ask_until_the_end(name):
    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=60)
    path = instance_name("QORP_LPAR_CS", {"Name": name})
    new = "soak " + name
    while time.monotonic() < end:
        call(connection, intrinsic("GetInstance", "InstanceName", path), name.encode())
        call(connection, intrinsic("EnumerateInstances", "ClassName", '<CLASSNAME NAME="QORP_ComputerSystem"/>'), name.encode())
        call(connection, intrinsic("AssociatorNames", "ObjectName", path), b"QORP_CEC_CS")
        pull(connection, name.encode())
        call(connection, intrinsic("CreateInstance", "NewInstance", '<INSTANCE CLASSNAME="QORP_CEC_CS"><PROPERTY NAME="Name" '
                                   'TYPE="string"><VALUE>%s</VALUE></PROPERTY></INSTANCE>' % new), new.encode())
        call(connection, intrinsic("DeleteInstance", "InstanceName", instance_name("QORP_CEC_CS", {"Name": new})), b"DeleteInstance")
        call(connection, intrinsic("GetClass", "ClassName", '<CLASSNAME NAME="Nothing"/>'), b'ERROR CODE="6"')
        call(connection, state_change(name, 32769), b"PreviousState")
        sent["alerts"] += 1
        call(connection, state_change(name, 2), b"PreviousState")
        if random.random() < 0.02:
            connection.close()


def bad(kind):
    request = intrinsic("EnumerateInstances", "ClassName", '<CLASSNAME NAME="QORP_ComputerSystem"/>')
    head = "POST / HTTP/1.1\r\nHost: localhost\r\nContent-Type: text/xml\r\nCIMOperation: MethodCall\r\nCIMMethod: %s\r\nCIMObject: %s\r\n"
    whole = (head % request[:2]).encode() + b"Content-Length: %d\r\n\r\n" % len(request[2]) + request[2]
    while time.monotonic() < end:
        try:
            with socket.create_connection(("127.0.0.1", port), timeout=5) as s:
                if kind == 0:  # half a request, then nothing for a while
                    s.sendall(whole[:random.randrange(len(whole))])
                    time.sleep(random.choice((0, 0.01, 0.5)))
                elif kind == 1:  # a reset while the answer comes
                    s.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                    s.sendall(whole * 5)
                elif kind == 2:  # garbage, before or within a request
                    at = random.choice((0, random.randrange(len(whole))))
                    s.sendall(whole[:at] + os.urandom(random.randrange(1, 5000)) + whole[at:])
                    s.settimeout(0.2)
                    s.recv(1000)
                elif kind == 4:  # an enumeration that is opened and left
                    connection = http.client.HTTPConnection("127.0.0.1", port, timeout=5)
                    call(connection, intrinsic(*OPEN, OperationTimeout=1, MaxObjectCount=1), b"EndOfSequence")
                    connection.close()
                    time.sleep(0.05)
                else:  # answers that nobody reads
                    s.settimeout(0.1)
                    s.sendall(whole * 200)
                counts["bad"] += 1
        except OSError:
            counts["bad"] += 1


def memory(what="VmRSS"):
    with open("/proc/%d/status" % server.pid) as status:
        found = re.search(what + r":\s*(\d+)", status.read())
        return int(found[1]) if found else 0  # it has ended


subscribe()
threads = [threading.Thread(target=good, args=(name,)) for name in PARTITIONS] + \
    [threading.Thread(target=bad, args=(kind,)) for kind in range(5)]
for thread in threads:
    thread.start()
sizes = []  # in KiB; they go up and down with the number of threads
while time.monotonic() < end and server.poll() is None:
    time.sleep(min(10, max(0.1, seconds / 20)))
    sizes.append(memory())
    print("%4d s left, %6d KiB, %d threads, %d good requests, %d bad ones, %d alerts sent, %d came" % (
        max(0, end - time.monotonic()), memory(), memory("Threads"), sum(counts.values()) - counts["bad"], counts["bad"], sent["alerts"],
        came["alerts"]), flush=True)
for thread in threads:
    thread.join()
deadline = time.monotonic() + 60
while came["alerts"] < sent["alerts"] and time.monotonic() < deadline:
    time.sleep(0.1)
quarter = max(1, len(sizes) // 4)
warm = statistics.median(sizes[quarter:2 * quarter] or sizes)
grown = statistics.median(sizes[-quarter:]) - warm
server.send_signal(signal.SIGTERM)
if server.wait(timeout=60) != 0:
    problems.put("the server ended with %d" % server.returncode)
if came["alerts"] != sent["alerts"]:
    problems.put("%d alerts were sent, %d came" % (sent["alerts"], came["alerts"]))
if grown > max(warm // 20, 1024):
    problems.put("the server has grown by %d KiB" % grown)
print("grown by %d KiB of %d from the second quarter of the time to the last; %d problems" % (grown, warm, problems.qsize()))
while not problems.empty():
    print(problems.get())
    server.returncode = 1
sys.exit(server.returncode)
