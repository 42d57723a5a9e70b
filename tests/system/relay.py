"""A relay in front of a camera that counts the requests, shows the answers, and can act before a chosen request."""

import http.client
import http.server
import threading


class Relay:
    """Forwards each POST to 127.0.0.1:`port`. `before(number, body)` is called before request `number`, from 1 on:
    False breaks the connection, True forwards, bytes are answered as they are with status 200.
    `answers` holds (body of the request, body of the answer) of what was forwarded."""

    def __init__(self, port, before=lambda number, body: True):
        self.camera_port = port
        self.before = before
        self.answers = []
        self.requests = 0
        relay = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = "HTTP/1.1"

            def do_POST(self):  # the name is given by the library
                relay.serve(self)

            def log_message(self, *unused):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.server.daemon_threads = True
        self.port = self.server.server_address[1]
        self.thread = threading.Thread(target=self.server.serve_forever, kwargs={"poll_interval": 0.02})

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *unused):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()

    def serve(self, handler):
        body = handler.rfile.read(int(handler.headers["Content-Length"]))
        self.requests += 1
        decision = self.before(self.requests, body)
        if decision is False:
            handler.close_connection = True
            return
        if decision is True:
            status, answer = self.forward(handler, body)
            if status is None:
                handler.close_connection = True
                return
        else:
            status, answer = 200, decision
        handler.send_response(status)
        handler.send_header("Content-Type", "application/soap+xml; charset=utf-8")
        handler.send_header("Content-Length", str(len(answer)))
        handler.end_headers()
        handler.wfile.write(answer)

    def forward(self, handler, body):
        camera = http.client.HTTPConnection("127.0.0.1", self.camera_port, timeout=10)
        try:
            camera.request("POST", handler.path, body, {"Content-Type": handler.headers["Content-Type"],
                                                        "Host": f"127.0.0.1:{self.camera_port}"})
            response = camera.getresponse()
            answer = response.read()
            self.answers.append((body, answer))
            return response.status, answer
        except OSError:
            return None, b""
        finally:
            camera.close()
