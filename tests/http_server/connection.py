"""Serves one client connection: reads requests and answers them until one side has enough."""

import traceback
from collections.abc import Callable

import h11

from answer import Answer
from body import Body, BytesSegment
from control import CONTROL_PREFIX, ControlInterface
from framing import make_plan
from path_script import PathScript
from record import RequestRecord
from registry import Registry
from request_reader import BadRequest, Request, RequestReader
from response_writer import AnswerCut, ResponseWriter
from wire import ClientGone, ServerStopping, Wire

Fallback = Callable[[Request], Answer]


def _text_answer(status: int, reason: bytes, text: str) -> Answer:
    return Answer(
        status=status,
        reason=reason,
        headers=((b"Content-Type", b"text/plain; charset=utf-8"),),
        body=Body((BytesSegment(text.encode("utf-8")),)),
    )


def not_found(request: Request) -> Answer:
    return _text_answer(404, b"Not Found", f"nothing at {request.path}\n")


class Connection:
    """One accepted connection; run() is its thread."""

    def __init__(self, wire: Wire, number: int, registry: Registry, fallback: Fallback):
        self._wire = wire
        self._number = number
        self._registry = registry
        self._fallback = fallback
        self._control = ControlInterface(registry, wire)
        self._reader = RequestReader(wire)
        # Requests that no test has scripted are answered through a script that holds nothing.
        self._plain = PathScript({"path": "/"})

    def run(self) -> None:
        try:
            self._serve_until_cut()
            self._wire.linger()
        except (ClientGone, ServerStopping):
            pass
        except Exception:  # a defect of this server: say so, but go on serving the other tests
            traceback.print_exc()
        finally:
            self._wire.close()

    def _serve_until_cut(self) -> None:
        try:
            self._serve()
            self._wire.finish_sending()
        except AnswerCut:
            pass  # a script has ended the connection in its own way

    def _serve(self) -> None:
        while True:
            try:
                request = self._reader.read()
            except BadRequest as error:
                self._wire.send_all(
                    b"HTTP/1.1 400 Bad Request\r\nConnection: close\r\n\r\n" + str(error).encode()
                )
                return
            if request is None:
                return
            if request.path.startswith(CONTROL_PREFIX):
                keep = self._answer_control(request)
            else:
                keep = self._answer(request)
            connection = self._reader.h11
            if not keep or connection.states != {h11.CLIENT: h11.DONE, h11.SERVER: h11.DONE}:
                return
            connection.start_next_cycle()

    def _answer_control(self, request: Request) -> bool:
        status, reason, text = self._control.handle(request)
        answer = _text_answer(status, reason, text)
        plan = make_plan(self._reader.h11, request.method, answer)
        record = RequestRecord(request, self._number)
        ResponseWriter(self._wire, self._plain, record, answer).write(plan)
        return not plan.close

    def _answer(self, request: Request) -> bool:
        record = RequestRecord(request, self._number)
        self._registry.log(record)
        script = self._registry.find(request.path, request.query)
        if script is None:
            script = self._plain
            answer = self._fallback(request)
            record.set_answer(answer)
        else:
            answer = script.begin(record, request.header("Authorization"))
        plan = make_plan(self._reader.h11, request.method, answer)
        ResponseWriter(self._wire, script, record, answer).write(plan)
        return not plan.close
