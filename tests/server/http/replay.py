# SPDX-FileCopyrightText: The velmar_remote authors
# SPDX-License-Identifier: MIT
"""Sends recorded requests, in order, to a server started afresh for each kind, and compares the answers with the recorded ones.
Usage: replay.py KIND COMMAND...   (KIND: site, alerts, http or pull; COMMAND serves on a port of its choice and says which)

The exchanges in recorded/ are those of a real OpenPegasus 2.14 with the example site. Equal means: the same elements,
attributes, texts and order of properties; the order of what an enumeration returns, white space between elements, message
ids, times and the host's name do not count. Of http cases the status, the CIMError header and what is said of chunks
count, and the body if the status is 200. Of pull operations a context counts by being there; where the recorded server returned before it had the number of objects
asked for, only the form of the first object counts. SIGTERM has to end the server with 0."""
import glob, http.server, os, queue, re, signal, socket, subprocess, sys, threading
import xml.etree.ElementTree as ET

folder = os.path.join(os.path.dirname(os.path.abspath(__file__)), "recorded")
host = socket.gethostname()
kind, command = sys.argv[1], sys.argv[2:]
received = queue.Queue()
different = []
port = None


def read(name):
    with open(os.path.join(folder, kind, name), "rb") as f:
        return f.read()


def exchange(data):
    """The raw answer, without what only says that it goes on."""
    with socket.create_connection(("127.0.0.1", port), timeout=20) as s:
        s.sendall(data)
        answer = b""
        while True:
            part = s.recv(65536)
            answer += part
            if answer.startswith(b"HTTP/1.1 100"):
                answer = answer.partition(b"\r\n\r\n")[2]
            head, end, body = answer.partition(b"\r\n\r\n")
            length = re.search(rb"\r\ncontent-length: *(\d+)", head, re.I)
            is_whole = len(body) >= int(length[1]) if length else body.endswith(b"\r\n0\r\n\r\n")
            if not part or end and is_whole:
                return answer


def split(answer):
    """Status, headers, body without chunk marks."""
    head, _, body = answer.partition(b"\r\n\r\n")
    lines = head.decode("latin1").split("\r\n")
    headers = {k.lower().strip(): v.strip() for k, _, v in (line.partition(":") for line in lines[1:])}
    if "chunked" in headers.get("transfer-encoding", ""):
        body = b"".join(re.findall(rb"[0-9a-f]+\r\n(.*?)\r\n", body, re.S))
    return (lines[0].split(" ") + [""])[1], headers, body


def canonical(element):
    def hostless(text):
        return re.sub(r"(?<![\w.])%s(:\d+)?(?!\w)" % re.escape(host), "HOST", text)
    attributes = sorted((k, hostless(v)) for k, v in element.attrib.items() if (element.tag, k) != ("MESSAGE", "ID"))
    text = element.text or ""
    text = text if element.tag in ("VALUE", "KEYVALUE", "HOST") else text.strip()
    children = [canonical(child) for child in element]
    if element.tag == "IRETURNVALUE":
        children.sort()
    return (element.tag, attributes, re.sub(r"^\d{14}\.\d{6}[+-]\d{3}$", "TIME", hostless(text)), children)


def document(body):
    return canonical(ET.fromstring(body)) if body.strip() else None


def judge(name, got, want):
    if got != want:
        different.append(name)
        print("%s:\n  got  %r\n  want %r" % (name, got, want))


def post(body):
    text = body.decode()
    extrinsic, method = re.search(r'<(I?)METHODCALL NAME="([^"]+)"', text).groups()
    path = re.search(r"<LOCALNAMESPACEPATH>.*?(?=<PARAMVALUE|<IPARAMVALUE|</I?METHODCALL)", text, re.S)[0]
    place = "/".join(re.findall(r'<NAMESPACE NAME="([^"]+)"', path.split("</LOCALNAMESPACEPATH>")[0]))
    if not extrinsic:
        place += ":" + re.search(r'<(?:INSTANCENAME CLASSNAME|CLASSNAME NAME)="([^"]+)"', path)[1]
        keys = re.findall(r'<KEYBINDING NAME="([^"]+)"><KEYVALUE[^>]*>([^<]*)<', path)
        place += "." * bool(keys) + ",".join('%s="%s"' % key for key in keys)
    head = ("POST /cimom HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
            "MethodCall\r\nCIMMethod: %s\r\nCIMObject: %s\r\nContent-Length: %d\r\n\r\n" % (method, place, len(body)))
    return exchange(head.encode() + body)


class Listener(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_POST(self):
        received.put(self.rfile.read(int(self.headers["Content-Length"])))
        self.send_response(200)
        self.send_header("Content-Length", "0")
        self.end_headers()

    def log_message(self, *_):
        pass


def play_messages():
    listener = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Listener)
    threading.Thread(target=listener.serve_forever, daemon=True).start()
    exports = {"04-fail": "alert-partition", "05-send": "alert-control-point"} if kind == "alerts" else {}
    for path in sorted(glob.glob(os.path.join(folder, kind, "*.request.xml"))):
        name = os.path.basename(path)[:-len(".request.xml")]
        request = re.sub(rb"(?<=[>\"/])HOST(?=[<\"/])", host.encode(), read(name + ".request.xml"))
        request = request.replace(b"127.0.0.1:6990", b"127.0.0.1:%d" % listener.server_address[1])
        judge(name, document(split(post(request))[2]), document(read(name + ".response.xml")))
        if name in exports:
            recorded = read(exports[name] + ".export.http").partition(b"\n\n")[2]
            judge(exports[name], document(received.get(timeout=20)), document(recorded))


CONTEXT = rb'(NAME="EnumerationContext"[^>]*>\s*<VALUE>)([^<]+)'


def form(element):
    return [element.tag] + [form(child) for child in element]


def pulled(body, is_part, is_early):
    """What counts of an answer: all, or of a part its first object, its size and whether it is the last."""
    # An ended context is "closed" for a moment before it is "undefined".
    body = body.replace(b"Enumeration context closed when request received.", b"Context undefined.")
    root = ET.fromstring(re.sub(CONTEXT, rb"\1CONTEXT", body))
    objects = root.find(".//IRETURNVALUE")
    if objects is None or not is_part:
        return canonical(root)
    rest = [(each.get("NAME"), each.findtext("VALUE")) for each in root.iter("PARAMVALUE")]
    return (form(objects[0]), None if is_early else (len(objects), rest))


def play_pull():
    contexts = {}  # exchange NN returned what stands as CONTEXT-NN in later ones
    for path in sorted(glob.glob(os.path.join(folder, kind, "*.request.xml"))):
        name = os.path.basename(path)[:-len(".request.xml")]
        request, recorded = read(name + ".request.xml"), read(name + ".response.xml")
        answer = split(post(re.sub(rb"CONTEXT-(\d\d)", lambda m: contexts.get(m[1], b"none"), request)))[2]
        if context := re.search(CONTEXT, answer):
            contexts[name[:2].encode()] = context[2]
        asked = int((re.search(rb'"MaxObjectCount"><VALUE>(\d+)', request) or [0, 0])[1])
        returned = len(ET.fromstring(recorded).findall(".//IRETURNVALUE/*"))
        is_early = name.endswith("rest-part") or b"CONTEXT-" in recorded and returned < asked
        is_part = is_early or b"CONTEXT-" in recorded
        judge(name, pulled(answer, is_part, is_early), pulled(recorded, is_part, is_early))


def play_http():
    def shape(answer):
        status, headers, body = split(answer)
        counted = [headers.get(name) for name in ("cimerror", "transfer-encoding", "trailer")]
        return status, counted, document(body) if status == "200" else None
    for path in sorted(glob.glob(os.path.join(folder, kind, "*.request.http"))):
        name = os.path.basename(path)[:-len(".request.http")]
        recorded = read(name + ".response.http").replace(b"<no end in 3 s>", b"")
        judge(name, shape(exchange(read(name + ".request.http"))), shape(recorded))


server = subprocess.Popen(command, stdout=subprocess.PIPE, text=True)
try:
    port = int(server.stdout.readline().rpartition(":")[2])
    {"http": play_http, "pull": play_pull}.get(kind, play_messages)()
finally:
    server.send_signal(signal.SIGTERM)
    status = server.wait(timeout=60)
print("%d different, the server ended with %d" % (len(different), status))
sys.exit(bool(different) or status)
