// Building the page: every piece of data goes in as text (textContent, value), never as HTML.

type Child = Node | string | null | undefined | false;
type Attributes = Record<string, string | number | boolean | undefined | ((event: Event) => void)>;

export function el<K extends keyof HTMLElementTagNameMap>(
  tag: K, attributes: Attributes = {}, ...children: Child[]
): HTMLElementTagNameMap[K] {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (value === undefined || value === false) continue;
    if (typeof value === "function") {
      node.addEventListener(name.replace(/^on/, ""), value);
    } else if (name === "text") {
      node.textContent = String(value);
    } else if (name === "value" && "value" in node) {
      (node as HTMLInputElement).value = String(value);
    } else {
      node.setAttribute(name, value === true ? "" : String(value));
    }
  }
  append(node, ...children);
  return node;
}

export function append(parent: Node, ...children: Child[]): void {
  for (const child of children) {
    if (child === null || child === undefined || child === false) continue;
    parent.appendChild(typeof child === "string" ? document.createTextNode(child) : child);
  }
}

export function clear(node: Node): void {
  while (node.firstChild) node.removeChild(node.firstChild);
}

// A message line that the server's text fills as it is.
export function message(text: string, kind: "error" | "info" = "error"): HTMLElement {
  return el("p", { class: `message ${kind}`, role: kind === "error" ? "alert" : "status", text });
}

// Lets the browser paint before going on (so a progress bar shows each step).
export function nextFrame(): Promise<void> {
  return new Promise((resolve) => requestAnimationFrame(() => resolve()));
}
