// The wait screen of a call that reports progress: title, job text, progress bar and Cancel.
// It answers each server command only after the browser has painted it, and answers "cancel"
// once the button was pressed.
import type { CallbackHandler, WaitScreenEvent } from "../typescript/index.js";
import { Cancellation, RpcError } from "../typescript/index.js";
import { el, nextFrame } from "./dom.js";

export class WaitDialog {
  readonly element: HTMLDialogElement;
  private readonly title = el("h2", { class: "wait-title", text: "" });
  private readonly job = el("p", { class: "wait-job", text: "" });
  private readonly bar = el("progress", { max: 100, value: 0 });
  private readonly percent = el("span", { class: "wait-percent", text: "0%" });
  private readonly outcome = el("p", { class: "wait-outcome", role: "status", text: "" });
  private readonly cancelButton = el("button", { type: "button", class: "wait-cancel", text: "Cancelar" });
  private readonly closeButton = el("button", { type: "button", class: "wait-close", text: "Fechar", hidden: true });
  private readonly cancellation = new Cancellation((event) => this.show(event));

  constructor(initialTitle: string) {
    this.title.textContent = initialTitle;
    this.element = el("dialog", { class: "wait-dialog", "aria-label": "Aguarde" },
      this.title, this.job, el("div", { class: "wait-bar" }, this.bar, this.percent), this.outcome,
      el("div", { class: "buttons" }, this.cancelButton, this.closeButton));
    this.cancelButton.addEventListener("click", () => {
      this.cancellation.cancel();
      this.cancelButton.disabled = true;
      this.cancelButton.textContent = "Cancelando…";
    });
    this.closeButton.addEventListener("click", () => this.element.close());
    this.element.addEventListener("close", () => this.element.remove());
  }

  get handler(): CallbackHandler {
    const cancellation = this.cancellation;
    return {
      onEvent: (event) => cancellation.onEvent(event),
      cancelRequested: () => cancellation.cancelRequested(),
      beforeAnswer: () => nextFrame(),
    };
  }

  open(): void {
    document.body.appendChild(this.element);
    this.element.showModal();
  }

  // Runs `work` with the dialog open; the dialog stays to show how it ended.
  async run<T>(work: (handler: CallbackHandler) => Promise<T>, describe: (result: T) => string): Promise<T | null> {
    this.open();
    try {
      const result = await work(this.handler);
      this.finish(describe(result), "ok");
      return result;
    } catch (error) {
      if (error instanceof RpcError && error.aborted) {
        this.finish("Operação cancelada: nada foi alterado.", "cancelled");
      } else {
        this.finish(error instanceof Error ? error.message : String(error), "error");
      }
      return null;
    }
  }

  private show(event: WaitScreenEvent): void {
    if (event.kind === "title") this.title.textContent = event.text;
    else if (event.kind === "job") this.job.textContent = event.text;
    else if (event.kind === "position") {
      this.bar.value = event.percent;
      this.percent.textContent = `${event.percent}%`;
      this.element.dataset["percent"] = String(event.percent);
    }
  }

  private finish(text: string, state: "ok" | "cancelled" | "error"): void {
    this.outcome.textContent = text;
    this.element.dataset["state"] = state;
    this.outcome.className = `wait-outcome ${state}`;
    this.cancelButton.hidden = true;
    this.closeButton.hidden = false;
    this.closeButton.focus();
  }
}
